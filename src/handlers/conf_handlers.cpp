#include "handlers/conf_handlers.h"

#include <cstdlib>

#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/registrars.h"
#include "db/upcalls.h"
#include "db/wifi_clients.h"
#include "handlers/answer_memory.h"
#include "handlers/conf_items.h"
#include "handlers/firmware_handlers.h"
#include "orders/query_tracking.h"
#include "orders/wifi_sync.h"
#include "platform/autoconfig.h"

namespace {

int sendConfResp(const VendContext& context, VendMsgType type, std::vector<Item>&& items) {
    ConfResp answer;
    answer.almac = *getAlMac();
    answer.items = std::move(items);
    return sendAnswer(context, type, std::move(answer));
}

// Answers to copies of a query may overtake each other.
constexpr unsigned long long kOvertaken = 5;  // seconds

// True if both uptimes are known and the device has restarted in between.
bool isEarlier(const Text<32>& uptime, const Text<32>& before) {
    if (uptime.empty() || before.empty()) return false;
    return strtoull(uptime.c_str(), nullptr, 10) + kOvertaken <
           strtoull(before.c_str(), nullptr, 10);
}

}  // namespace

int handleConfQueryMsg(const VendContext& context, const AlMacPayload& /*query*/) {
    return sendConfResp(context, VEND_MSG_TYPE_CONF_RESP, readConfItems(*getAlTable()));
}

int handleConfRespMsg(const VendContext& context, const ConfResp& answer) {
    const MacAddr sender = context.msg.alMac;
    ReportVendRespMsg(sender, context.msgId, VEND_MSG_TYPE_CONF_QUERY);
    const Ieee1905DevTable* dev = getIeee1905DevTableById(sender);
    if (dev == nullptr) return kOk;
    const auto uptime = dev->deviceUptime;
    storeConfItems(getIeee1905DevTables().describe(*dev), answer.items);
    if (dev->role == PLATFORM_REGISTRAR) noteRegistrar(sender);
    if (isEarlier(dev->deviceUptime, uptime)) forgetWifiSync(sender);
    LOG(4, "vm1905Version git = %s\n", dev->firmwareVersion.c_str());
    noteRemoteFirmwareState(*dev);
    if (!dev->hostname.empty()) (void)checkMACisApprove(sender.data(), dev->hostname.c_str());
    dropSilentWifiClients(*dev);
    (void)requestSendWIFIstateQueryMsg(sender, 0);
    upcalls().deviceAnswered(sender, AwaitedAnswer::kConf);
    return requestUpdateDataModel(0);
}

int handleConfQueryMsg2(const VendContext& context, const AlMacPayload& /*query*/) {
    return sendConfResp(context, VEND_MSG_TYPE_CONF_RESP2, readIPv6Items());
}

int handleConfRespMsg2(const VendContext& context, const ConfResp& answer) {
    const MacAddr& sender = context.msg.alMac;
    ReportVendRespMsg(sender, context.msgId, VEND_MSG_TYPE_CONF_QUERY2);
    const Ieee1905DevTable* dev = getIeee1905DevTableById(sender);
    if (dev == nullptr) return kOk;
    storeIPv6Items(getIeee1905DevTables().describe(*dev), answer.items);
    return requestUpdateDataModel(0);
}
