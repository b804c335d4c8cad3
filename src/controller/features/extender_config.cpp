#include "controller/features/extender_config.h"

#include <memory>
#include <string>

#include "core/result.h"
#include "platform/device.h"
#include "topology/data_manager.h"
#include "vendor/payloads.h"
#include "vendor/sync_text.h"
#include "vendor/vend_sender.h"

int sendUpdateConifgCtrlToExtender() {
    const MacAddr* own = getAlMac();
    if (own == nullptr) return kFailure;
    std::string text;
    (void)fetchSyncText(getExtenderConfig, text);
    return sendVendMcastMsg(VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ,
                            std::make_unique<TextPayload>(*own, text));
}
