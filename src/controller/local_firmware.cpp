#include "controller/local_firmware.h"

#include "base/log.h"
#include "base/result.h"
#include "platform/device.h"

int checkLocalFWExist() {
    if (checkLocalFW() != 0) return kFailure;
    LOG_PUTS(3, "a local firmware file is taken up");
    return kOk;
}
