#include "db/sys_ctrl.h"

#include "base/state.h"

SysCtrl& getSysCtrl() {
    return stateOf<SysCtrl>();
}

uint32_t getSysState() {
    return getSysCtrl().state;
}

void setSysState(uint32_t state) {
    getSysCtrl().state = state;
}

void setDeviceModelType(std::string_view name) {
    getSysCtrl().DeviceModelType = name;
}

int getDeviceModelType() {
    const auto& model = getSysCtrl().DeviceModelType;
    return model.empty() || model == "0" ? 0 : 1;
}
