#include "handlers/vend_dispatch.h"

#include "base/log.h"
#include "base/result.h"
#include "db/options.h"
#include "handlers/answer_memory.h"
#include "handlers/conf_handlers.h"
#include "handlers/control_handlers.h"
#include "handlers/diagnosis_handlers.h"
#include "handlers/firmware_handlers.h"
#include "handlers/intf_handlers.h"
#include "handlers/remote_command.h"
#include "handlers/steering_handlers.h"
#include "handlers/vend_disc.h"
#include "handlers/wifi_handlers.h"
#include "net/work_limit.h"
#include "orders/query_tracking.h"
#include "wire/frame.h"
#include "wire/standard_tlv.h"
#include "wire/vend_catalogue.h"
#include "wire/vend_tlv.h"

namespace {

template <typename Payload>
using Handle = int (*)(const VendContext& context, const Payload& payload);

// Hands the payload to its handler. A row does not compile if the handler takes a payload other
// than that of the message type.
template <VendMsgType kNumber, Handle<PayloadOf<kNumber>> kHandle>
int handle(const VendContext& context) {
    const auto* payload = std::get_if<PayloadOf<kNumber>>(&context.msg.payload);
    return payload != nullptr ? kHandle(context, *payload) : kFailure;
}

template <VendMsgType kNumber, Handle<PayloadOf<kNumber>> kHandle>
constexpr VendHandler handler(const char* label, OrderGroup group = OrderGroup::kNone,
                              int logLevel = 3) {
    return {kNumber, label, true, group, logLevel, handle<kNumber, kHandle>};
}
template <VendMsgType kNumber, Handle<PayloadOf<kNumber>> kHandle>
constexpr VendHandler copyHandler(const char* label) {
    return {kNumber, label, false, OrderGroup::kNone, 3, handle<kNumber, kHandle>};
}

int handleVendSpecMsg(const VendContext& context);

// Handles the order that the line spells.
int handleSendCommandReqMsg(const VendContext& context, const SendCommandReq& command) {
    VendMsg order;
    order.oui = context.msg.oui;
    order.alMac = context.msg.alMac;
    if (parseRemoteCommand(command, order) != kOk) return kFailure;
    return handleVendSpecMsg({context.port, context.srcMac, context.msgId, order, kVendPathCommand,
                              context.outcome, context.isMulticast, context.isProven});
}

// By number. OBEY is for orders. HANDLE_COPIES is for queries, reports and announcements whose
// copies do no harm, and which would only drive the orders out of the memory. Meant: 65 and 67, 70
// and 72, 71 and 73 share their label and handler.
// clang-format off
#define HANDLE(name, function) handler<VEND_MSG_TYPE_##name, function>("VEND_MSG_TYPE_" #name)
#define OBEY(name, function, group) handler<VEND_MSG_TYPE_##name, function>("VEND_MSG_TYPE_" #name, OrderGroup::group)
#define HANDLE_COPIES(name, function) copyHandler<VEND_MSG_TYPE_##name, function>("VEND_MSG_TYPE_" #name)
constexpr VendHandler kHandlers[] = {
    HANDLE_COPIES(CONF_QUERY, handleConfQueryMsg),
    HANDLE(CONF_RESP, handleConfRespMsg),
    HANDLE_COPIES(INTF_PWR_STATE_QUERY, handleIntfPwrStateQueryMsg),
    HANDLE_COPIES(INTF_PWR_STATE_RESP, handleIntfPwrStateRespMsg),
    OBEY(REBOOT_REQ, handleRebootReqMsg, kReboot),
    HANDLE(REBOOT_RESP, handleRebootRespMsg),
    OBEY(INTF_PWR_CTRL_REQ, handleIntfPwrCrtlReqMsg, kPower),
    HANDLE(INTF_PWR_CTRL_RESP, handleIntfPwrCrtlRespMsg),
    HANDLE_COPIES(WIFI_STATE_REQ, handleWIFIStateQueryMsg),
    HANDLE_COPIES(WIFI_STATE_RESP, handleWIFIStateRespMsg),
    OBEY(SPEEDTEST_START, handleSpeedTestStartStopMsg, kNetwork),
    HANDLE(SPEEDTEST_DATA, handleSpeedTestDataMsg),
    OBEY(SPEEDTEST_STOP, handleSpeedTestStartStopMsg, kNetwork),
    HANDLE(WIFISTATESEARCH, handleWIFIStateSearchMsg),
    OBEY(WIFISTATERENEW, handleWIFIStateRenewMsg, kWifi),
    HANDLE(WIFISTATEACK, handleWIFIStateAckMsg),
    OBEY(WPS_CTRL_REQ, handleWPSCrtlReqMsg, kWifi),
    HANDLE(WPS_CTRL_RESP, handleWPSCrtlRespMsg),
    OBEY(APSteering_REQ, handleAPSteeringReqMsg, kWifi),
    HANDLE(APSteering_RESP, handleAPSteeringRespMsg),
    OBEY(FW_CTRL_REQ, handleFWCrtlReqMsg, kFirmware),
    HANDLE(FW_CTRL_RESP, handleFWCrtlRespMsg),
    OBEY(RESETTODEFAULT_REQ, handleResetToDefaultReqMsg, kReset),
    HANDLE(RESETTODEFAULT_RESP, handleResetToDefaultRespMsg),
    OBEY(SENDCOMMAND_REQ, handleSendCommandReqMsg, kCommand),
    HANDLE(SPEEDTEST_ACK, handleSpeedTestAckMsg),
    HANDLE_COPIES(INTF_NAME_RESP, handleIntfNameRespMsg),
    OBEY(REQUESTLOGFILE_REQ, handleRequestLogFileReqMsg, kSystem),
    HANDLE(REQUESTLOGFILE_RESP, handleResponseLogFileReqMsg),
    HANDLE(REQUESTLOGFILE_ACK, handleAckLogFileReqMsg),
    HANDLE(APAUTOCONFIG_ACK, handleAPautoconfigAckMsg),
    HANDLE(SENDCOMMAND_RESP, handleSendCommandRespMsg),
    OBEY(LED_CTRL_REQ, handleLEDCtrlReqMsg, kSystem),
    OBEY(LED_CTRL_MCAST_REQ, handleLEDCtrlMCASTReqMsg, kSystem),
    HANDLE(LED_CTRL_RESP, handleLEDCtrlRespMsg),
    HANDLE_COPIES(WIFI_CLIENT_MCAST2, handleWIFIClientmcastMsg),
    HANDLE_COPIES(FWSTATECHANGE_REQ, handleFWStateChangeRequestMsg),
    HANDLE_COPIES(FWSTATECHANGE_RESP, handleFWStateChangeResponseMsg),
    HANDLE(WIFICHANNELSEARCH, handleWIFIChannelSearchMsg),
    OBEY(WIFICHANNELRENEW, handleWIFIChannelRenewMsg, kWifi),
    HANDLE(WIFICHANNELACK, handleWIFIChannelAckMsg),
    HANDLE(SECURITYCTRL_MSG, handleSecurityCtrlReqMsg),
    HANDLE_COPIES(VEND_DISC, handleVendDiscMsg),
    OBEY(FW_CTRL_2_REQ, handleFWCrtl2ReqMsg, kFirmware),
    OBEY(NETWORKCTRL_REQ, handleNetworkCtrlReqMsg, kNetwork),
    HANDLE(NETWORKCTRL_RESP, handleNetworkCtrlRespMsg),
    HANDLE_COPIES(CONF_QUERY2, handleConfQueryMsg2),
    HANDLE_COPIES(CONF_RESP2, handleConfRespMsg2),
    handler<VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ, handleWIFICountryCodeCtrlReqMsg>("VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ", OrderGroup::kWifi, 4),
    handler<VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP, handleWIFICountryCodeCtrlRespMsg>("VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP", OrderGroup::kNone, 4),
    OBEY(UPDATEEXTENDCONF_REQ, handleUpdateExtenderconifgReqMsg, kSystem),
    OBEY(SENDBCNRPT_REQ, handleSendBcnRptReqMsg, kWifi),
    handler<VEND_MSG_TYPE_SENDBCNRPT_RESP, handleGetBcnRptRespMsg>("VEND_MSG_TYPE_GETBCNRPT_RESP"),
    OBEY(GETBCNRPT_REQ, handleGetBcnRptReqMsg, kWifi),
    HANDLE(GETBCNRPT_RESP, handleGetBcnRptRespMsg),
    OBEY(SENDBTM_REQ, handleBTMReqMsg, kWifi),
    HANDLE(SENDBTM_RESP, handleBTMRespMsg),
    OBEY(ADDBLACKLIST_REQ, handleBlacklistReqMsg, kWifi),
    HANDLE(ADDBLACKLIST_RESP, handleBlacklistRespMsg),
    handler<VEND_MSG_TYPE_DELBLACKLIST_REQ, handleBlacklistReqMsg>("VEND_MSG_TYPE_ADDBLACKLIST_REQ", OrderGroup::kWifi),
    handler<VEND_MSG_TYPE_DELBLACKLIST_RESP, handleBlacklistRespMsg>("VEND_MSG_TYPE_ADDBLACKLIST_RESP"),
    OBEY(SYSTEM_CTRL_REQ, handleSystemCtrlReqMsg, kSystem),
    OBEY(SYSTEM_CTRL_MCAST_REQ, handleSystemCtrlMCASTReqMsg, kSystem),
    HANDLE(SYSTEM_CTRL_RESP, handleSystemCtrlRespMsg),
};
#undef HANDLE
#undef OBEY
#undef HANDLE_COPIES
// clang-format on
static_assert(std::ranges::is_sorted(kHandlers, {}, &VendHandler::number));

VendContext contextOf(const Port& port, const FrameHdr& hdr, const VendMsg& msg, int path,
                      VendOutcome& outcome, const Proof& proof) {
    return {.port = port,
            .srcMac = hdr.srcMac,
            .msgId = hdr.msgId,
            .msg = msg,
            .path = path,
            .outcome = outcome,
            .isMulticast = hdr.dstMac == k1905Multicast,
            .isProven = proof.trust == Trust::kFresh};
}

int obey(const VendHandler& row, const VendContext& context) {
    // The message that carries a remote command has been counted already.
    const bool isFree =
        row.group == OrderGroup::kNone || context.isProven || context.path == kVendPathCommand;
    if (!isFree && !mayWork(context.srcMac, Work::kOrder)) {
        context.outcome.isRefused = true;
        return kDuplicate;
    }
    const auto refused = refuseOrder(context, row.group, row.label);
    return refused ? *refused : row.handle(context);
}

int handleVendSpecMsg(const VendContext& context) {
    const uint16_t number = context.msg.vendMsgType;
    const VendHandler* row = findVendHandler(number);
    if (row == nullptr) {
        LOG(3, "vendor specific message type (%d) is unsoppourted\r\n", number);
        return kFailure;
    }
    LOG(row->logLevel, "vendor specific message type is (%d)[%s]\r\n", number, row->label);
    // The message that carries a remote command has been looked up already.
    if (!row->once || context.path == kVendPathCommand) return obey(*row, context);
    if (repeatAnswers(context)) return kDuplicate;
    const int result = obey(*row, context);
    if (!context.outcome.isUndone && !context.outcome.isRefused) rememberAnswers(context);
    return result;
}

// True if the proof is good enough for the message. A copy of an order gets the answers to the
// first one, if they are remembered; it is never obeyed.
bool mayPass(const VendContext& context, const Proof& proof) {
    const uint16_t number = context.msg.vendMsgType;
    if (proof.trust == Trust::kUnchecked || number == VEND_MSG_TYPE_VEND_DISC) return true;
    const VendHandler* row = findVendHandler(number);
    const bool isOrder = row == nullptr || row->once;
    if (proof.trust == Trust::kFresh) return !isOrder || storeOrder(proof);
    if (proof.trust == Trust::kCopy && (!isOrder || repeatAnswers(context))) return !isOrder;
    reportRefusal(context.srcMac, kMsgVendSpec, number,
                  proof.trust == Trust::kCopy ? "it was received before" : proof.flaw);
    return false;
}

}  // namespace

int initVendMessageHandler() {
    return initVendQueries();
}

const VendHandler* findVendHandler(uint16_t number) {
    const auto* const it = std::ranges::lower_bound(kHandlers, number, {}, &VendHandler::number);
    return it != std::end(kHandlers) && it->number == number ? it : nullptr;
}

int parseVendSpecTlvs(const Port& port, const FrameHdr& hdr, Bytes area, const Proof& proof) {
    VendMsg msg;
    bool decoded = false;
    if (!walkTlvs(area, [&](Bytes tlv) {
            const bool isSkipped =
                tlv[0] != kTlvVendSpec || (getStandardOption() && !isOwnVendTlv(tlv));
            if (isSkipped) return parseUnsupportedTlv(tlv);
            decoded = true;
            return parseVendSpecTlv(tlv, msg);
        })) {
        return kFailure;
    }
    if (!decoded || parseEndOfMsgTlv(area) != kOk) return kFailure;
    VendOutcome outcome;
    const VendContext context = contextOf(port, hdr, msg, kVendPathNetwork, outcome, proof);
    if (!mayPass(context, proof)) return kDuplicate;
    const int result = handleVendSpecMsg(context);
    if (outcome.isUndone) forgetCounter(proof);
    return result;
}

int handleVendSpecMsg(const Port& port, const FrameHdr& hdr, const VendMsg& msg, int path) {
    VendOutcome outcome;
    return handleVendSpecMsg(contextOf(port, hdr, msg, path, outcome, {}));
}
