#include "controller/alarm.h"

#include "base/log.h"
#include "base/result.h"
#include "db/sys_ctrl.h"

int setDiscMsgTransAlarmHandler(int (*handler)()) {
    if (handler == nullptr) return kFailure;
    getSysCtrl().discAlarmHandler = handler;
    return kOk;
}

int setDiscMsgTransAlarm(uint16_t sec) {
    LOG(4, "sec = %d\r\n", sec);
    getSysCtrl().discAlarmTime = now() + sec;
    return kOk;
}

int checkAlarms() {
    SysCtrl& sys = getSysCtrl();
    if (sys.discAlarmTime <= 0 || sys.discAlarmTime - now() > 0) return kOk;
    sys.discAlarmTime = 0;
    if (sys.discAlarmHandler == nullptr) {
        LOG_PUTS(1, "discovery message transmission alarm handler is NULL\r");
        return kFailure;
    }
    (void)sys.discAlarmHandler();
    return kOk;
}
