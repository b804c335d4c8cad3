#include "db/sys_ctrl.h"

SysCtrl& getSysCtrl() {
    static SysCtrl sysCtrl;
    return sysCtrl;
}

uint32_t getSysState() {
    return getSysCtrl().state;
}

void setSysState(uint32_t state) {
    getSysCtrl().state = state;
}
