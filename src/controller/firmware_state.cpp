#include "controller/firmware_state.h"

#include "base/log.h"
#include "base/result.h"
#include "db/own_state.h"
#include "platform/device.h"

int updateFWUpgradeStatus(int32_t value1, int32_t value2) {
    uint32_t status = 0;
    if (getfirmwareStatus(value1, value2, &status) != 0) return kOk;
    LOG(4, "FW upgrade status = %d\r\n", static_cast<int>(status));
    return updateNewFWUpgradeStatus(status);
}
