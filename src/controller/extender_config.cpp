#include "controller/extender_config.h"

#include <memory>
#include <string>

#include "base/result.h"
#include "db/database.h"
#include "net/vend_sender.h"
#include "platform/device.h"
#include "wire/sync_text.h"
#include "wire/vend_payloads.h"

int sendUpdateConifgCtrlToExtender() {
    const MacAddr* own = getAlMac();
    if (own == nullptr) return kFailure;
    std::string text;
    (void)fetchSyncText(getExtenderConfig, text);
    return sendVendMcastMsg(VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ, TextPayload{*own, text});
}
