#include "controller/firmware_state.h"

#include "core/log.h"
#include "core/result.h"
#include "platform/device.h"
#include "topology/data_manager.h"

int updateFWUpgradeStatus(int32_t value1, int32_t value2) {
    uint32_t status = 0;
    if (getfirmwareStatus(value1, value2, &status) != 0) return kOk;
    LOG(4, "FW upgrade status = %d\r\n", static_cast<int>(status));
    return updateNewFWUpgradeStatus(status);
}
