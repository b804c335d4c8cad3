#include "controller/features/extender_config.h"

#include <cstring>
#include <memory>
#include <string>

#include "core/result.h"
#include "platform/device.h"
#include "topology/data_manager.h"
#include "vendor/payloads.h"
#include "vendor/vend_sender.h"

int sendUpdateConifgCtrlToExtender() {
    const MacAddr* own = getAlMac();
    if (own == nullptr) return kFailure;
    char data[PLATFORM_SYNC_DATA_LEN] = {};
    if (getExtenderConfig(data) != 0) data[0] = '\0';
    return sendVendMcastMsg(
        VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ,
        std::make_unique<TextPayload>(*own, std::string(data, strnlen(data, sizeof data))));
}
