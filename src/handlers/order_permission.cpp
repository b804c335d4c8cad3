#include "handlers/order_permission.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/options.h"
#include "db/registrars.h"
#include "db/sys_ctrl.h"
#include "handlers/control_request.h"
#include "handlers/result_file.h"
#include "platform/autoconfig.h"
#include "wire/vend_payloads.h"

namespace {

struct Permission {
    OrderGroup group;
    const char* key;
    uint32_t SysConfig::*isEnabled;
};
constexpr Permission kPermissions[] = {
    {OrderGroup::kReboot, "ENABLE_REBOOT_FROM_NBR", &SysConfig::enableRebootFromNbr},
    {OrderGroup::kPower, "ENABLE_INTF_PWR_CTRL_FROM_NBR", &SysConfig::enableIntfPwrCtrlFromNbr},
    {OrderGroup::kReset, "ENABLE_RESET_FROM_NBR", &SysConfig::enableResetFromNbr},
    {OrderGroup::kFirmware, "ENABLE_FIRMWARE_FROM_NBR", &SysConfig::enableFirmwareFromNbr},
    {OrderGroup::kNetwork, "ENABLE_NETWORK_FROM_NBR", &SysConfig::enableNetworkFromNbr},
    {OrderGroup::kSystem, "ENABLE_SYSTEM_FROM_NBR", &SysConfig::enableSystemFromNbr},
    {OrderGroup::kWifi, "ENABLE_WIFI_FROM_NBR", &SysConfig::enableWifiFromNbr},
};

// Orders that are sent to all devices, always or if a local process addresses all.
constexpr uint16_t kMulticastOrders[] = {
    VEND_MSG_TYPE_SPEEDTEST_START,      VEND_MSG_TYPE_SPEEDTEST_STOP,
    VEND_MSG_TYPE_WIFISTATERENEW,       VEND_MSG_TYPE_REQUESTLOGFILE_REQ,
    VEND_MSG_TYPE_LED_CTRL_MCAST_REQ,   VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ,
    VEND_MSG_TYPE_SYSTEM_CTRL_MCAST_REQ};

// With these a Registrar configures its Enrollees.
constexpr uint16_t kRegistrarOrders[] = {
    VEND_MSG_TYPE_WIFISTATERENEW,      VEND_MSG_TYPE_FW_CTRL_REQ,
    VEND_MSG_TYPE_WIFICHANNELRENEW,    VEND_MSG_TYPE_FW_CTRL_2_REQ,
    VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ, VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ};

VendPayload code(const VendMsg& /*order*/) {
    return RetCodePayload(kFailure);
}

VendPayload option(const VendMsg& /*order*/) {
    return OptionPayload{*getAlMac(), kFailure};
}

VendPayload text(const VendMsg& /*order*/) {
    return TextPayload{*getAlMac(), resultText(kFailure)};
}

VendPayload codePerIntf(const VendMsg& order) {
    IntfPwrCtrlResp answer;
    for (const auto& intf : std::get<IntfPwrCtrlReq>(order.payload).intfs) {
        answer.intfs.push_back({intf.mac, intf.mediaType, kFailure});
    }
    return answer;
}

VendPayload network(const VendMsg& order) {
    return NetworkCtrlResp{std::get<NetworkCtrlReq>(order.payload).networkOption, kFailure};
}

VendPayload beaconReport(const VendMsg& order) {
    BcnRptResp answer;
    answer.kind = order.vendMsgType == VEND_MSG_TYPE_GETBCNRPT_REQ ? 1 : 0;
    answer.retCode = kFailure;
    answer.staMac = std::get<BcnRptReqPayload>(order.payload).staMac;
    return answer;
}

VendPayload blacklist(const VendMsg& order) {
    return BlacklistResp{std::get<BlacklistReq>(order.payload).option, kFailure};
}

// The answers to forbidden orders. The other orders have no answer that could say so.
struct Refusal {
    uint16_t order;
    VendMsgType answer;
    VendPayload (*payload)(const VendMsg& order);
};
constexpr Refusal kRefusals[] = {
    {VEND_MSG_TYPE_REBOOT_REQ, VEND_MSG_TYPE_REBOOT_RESP, code},
    {VEND_MSG_TYPE_INTF_PWR_CTRL_REQ, VEND_MSG_TYPE_INTF_PWR_CTRL_RESP, codePerIntf},
    {VEND_MSG_TYPE_SPEEDTEST_START, VEND_MSG_TYPE_SPEEDTEST_ACK, option},
    {VEND_MSG_TYPE_SPEEDTEST_STOP, VEND_MSG_TYPE_SPEEDTEST_ACK, option},
    {VEND_MSG_TYPE_WIFISTATERENEW, VEND_MSG_TYPE_WIFISTATEACK, text},
    {VEND_MSG_TYPE_WPS_CTRL_REQ, VEND_MSG_TYPE_WPS_CTRL_RESP, code},
    {VEND_MSG_TYPE_APSteering_REQ, VEND_MSG_TYPE_APSteering_RESP, code},
    {VEND_MSG_TYPE_FW_CTRL_REQ, VEND_MSG_TYPE_FW_CTRL_RESP, code},
    {VEND_MSG_TYPE_RESETTODEFAULT_REQ, VEND_MSG_TYPE_RESETTODEFAULT_RESP, code},
    {VEND_MSG_TYPE_LED_CTRL_REQ, VEND_MSG_TYPE_LED_CTRL_RESP, code},
    {VEND_MSG_TYPE_LED_CTRL_MCAST_REQ, VEND_MSG_TYPE_LED_CTRL_RESP, code},
    {VEND_MSG_TYPE_WIFICHANNELRENEW, VEND_MSG_TYPE_WIFICHANNELACK, text},
    {VEND_MSG_TYPE_FW_CTRL_2_REQ, VEND_MSG_TYPE_FW_CTRL_RESP, code},
    {VEND_MSG_TYPE_NETWORKCTRL_REQ, VEND_MSG_TYPE_NETWORKCTRL_RESP, network},
    {VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ, VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP, code},
    {VEND_MSG_TYPE_SENDBCNRPT_REQ, VEND_MSG_TYPE_SENDBCNRPT_RESP, beaconReport},
    {VEND_MSG_TYPE_GETBCNRPT_REQ, VEND_MSG_TYPE_GETBCNRPT_RESP, beaconReport},
    {VEND_MSG_TYPE_SENDBTM_REQ, VEND_MSG_TYPE_SENDBTM_RESP, code},
    {VEND_MSG_TYPE_ADDBLACKLIST_REQ, VEND_MSG_TYPE_ADDBLACKLIST_RESP, blacklist},
    {VEND_MSG_TYPE_DELBLACKLIST_REQ, VEND_MSG_TYPE_ADDBLACKLIST_RESP, blacklist},
    {VEND_MSG_TYPE_SYSTEM_CTRL_REQ, VEND_MSG_TYPE_SYSTEM_CTRL_RESP, code},
    {VEND_MSG_TYPE_SYSTEM_CTRL_MCAST_REQ, VEND_MSG_TYPE_SYSTEM_CTRL_RESP, code},
};
static_assert(std::ranges::is_sorted(kRefusals, {}, &Refusal::order));

void report(const VendContext& context, const char* label, const char* reason) {
    if (!stateOf<OrderRefusals>().reported.isFirst(context.msg.alMac)) return;
    LOG(2, "order %d [%s] from (" MAC_FMT "/" MAC_FMT ") is refused: %s\r\n",
        context.msg.vendMsgType, label, MAC_ARGS(context.msg.alMac), MAC_ARGS(context.srcMac),
        reason);
}

bool mayOrder(const MacAddr& sender) {
    const OrdersFrom& from = getOrdersFromOption();
    if (from.who == OrdersFrom::kListed) return std::ranges::count(from.listed, sender) != 0;
    return from.who == OrdersFrom::kAny || isKnownRegistrar(sender);
}

// Meant: the handlers of these orders check the addressee, before anything else.
bool isMisaddressed(const VendMsg& order, OrderGroup group) {
    if (const auto* power = std::get_if<IntfPwrCtrlReq>(&order.payload)) {
        return !isOwnAlMac(power->almac);
    }
    return (group == OrderGroup::kReboot || group == OrderGroup::kReset) &&
           !isOwnAlMac(std::get<AlMacPayload>(order.payload).almac);
}

// True if the device has this address, to which the answer goes.
bool isAddressOf(const MacAddr& alMac, const Ieee1905DevTable* dev, const MacAddr& mac) {
    return mac == alMac || (dev != nullptr && std::ranges::count(dev->intfs, mac, &DevIntf::mac));
}

int answerRefusal(const VendContext& context) {
    const auto* const row = std::ranges::find(kRefusals, context.msg.vendMsgType, &Refusal::order);
    if (row == std::end(kRefusals)) return kOk;
    const int answered = answerRequest(context, row->answer, row->payload(context.msg), kFailure);
    context.outcome.isRefused = answered != kOk;
    if (row->order == VEND_MSG_TYPE_REBOOT_REQ) LOG_PUTS(2, "failed to reboot\r");
    return answered;
}

}  // namespace

std::optional<int> refuseOrder(const VendContext& context, OrderGroup group, const char* label) {
    if (group == OrderGroup::kNone) return {};
    const bool isStray =
        context.isMulticast && std::ranges::count(kMulticastOrders, context.msg.vendMsgType) == 0;
    if (isStray || !mayOrder(context.msg.alMac)) {
        report(context, label, isStray ? "it is a multicast" : "ORDERS_FROM");
        context.outcome.isRefused = true;
        return kOk;
    }
    if (isOtherRegistrar(context.msg.alMac) &&
        std::ranges::count(kRegistrarOrders, context.msg.vendMsgType) != 0) {
        report(context, label, "this device keeps to another Registrar");
        return answerRefusal(context);
    }
    const auto* const permission = std::ranges::find(kPermissions, group, &Permission::group);
    if (permission == std::end(kPermissions) || isMisaddressed(context.msg, group) ||
        getSysCtrl().config.*permission->isEnabled == 1) {
        return {};
    }
    report(context, label, permission->key);
    return answerRefusal(context);
}

bool isApproved(const VendContext& context) {
    const MacAddr& sender = context.msg.alMac;
    const Ieee1905DevTable* dev = getIeee1905DevTableById(sender);
    if (isAddressOf(sender, dev, context.srcMac) &&
        checkMACisApprove(sender.data(), dev != nullptr ? dev->hostname.c_str() : "") == 0) {
        return true;
    }
    if (stateOf<OrderRefusals>().reported.isFirst(sender)) {
        LOG(2, "Decvice(" MAC_FMT ") is not allow\r\n", MAC_ARGS(sender));
    }
    context.outcome.isRefused = true;
    return false;
}
