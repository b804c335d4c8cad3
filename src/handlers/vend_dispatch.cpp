#include "handlers/vend_dispatch.h"

#include "base/log.h"
#include "base/result.h"
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
constexpr VendHandler handler(const char* label, int logLevel = 3) {
    return {kNumber, label, true, logLevel, handle<kNumber, kHandle>};
}
template <VendMsgType kNumber, Handle<PayloadOf<kNumber>> kHandle>
constexpr VendHandler copyHandler(const char* label) {
    return {kNumber, label, false, 3, handle<kNumber, kHandle>};
}

int handleVendSpecMsg(const VendContext& context);

// Handles the order that the line spells.
int handleSendCommandReqMsg(const VendContext& context, const SendCommandReq& command) {
    VendMsg order;
    order.oui = context.msg.oui;
    order.alMac = context.msg.alMac;
    if (parseRemoteCommand(command, order) != kOk) return kFailure;
    return handleVendSpecMsg(
        {context.port, context.srcMac, context.msgId, order, kVendPathCommand, context.outcome});
}

// By number. HANDLE_COPIES is for queries, reports and announcements: handling a copy does no harm,
// and remembering them would drive the orders out of the memory. Meant: 65 and 67, 70 and 72, 71
// and 73 share their label and handler.
// clang-format off
#define HANDLE(name, function) handler<VEND_MSG_TYPE_##name, function>("VEND_MSG_TYPE_" #name)
#define HANDLE_COPIES(name, function) copyHandler<VEND_MSG_TYPE_##name, function>("VEND_MSG_TYPE_" #name)
constexpr VendHandler kHandlers[] = {
    HANDLE_COPIES(CONF_QUERY, handleConfQueryMsg),
    HANDLE_COPIES(CONF_RESP, handleConfRespMsg),
    HANDLE_COPIES(INTF_PWR_STATE_QUERY, handleIntfPwrStateQueryMsg),
    HANDLE_COPIES(INTF_PWR_STATE_RESP, handleIntfPwrStateRespMsg),
    HANDLE(REBOOT_REQ, handleRebootReqMsg),
    HANDLE(REBOOT_RESP, handleRebootRespMsg),
    HANDLE(INTF_PWR_CTRL_REQ, handleIntfPwrCrtlReqMsg),
    HANDLE(INTF_PWR_CTRL_RESP, handleIntfPwrCrtlRespMsg),
    HANDLE_COPIES(WIFI_STATE_REQ, handleWIFIStateQueryMsg),
    HANDLE_COPIES(WIFI_STATE_RESP, handleWIFIStateRespMsg),
    HANDLE(SPEEDTEST_START, handleSpeedTestStartStopMsg),
    HANDLE(SPEEDTEST_DATA, handleSpeedTestDataMsg),
    HANDLE(SPEEDTEST_STOP, handleSpeedTestStartStopMsg),
    HANDLE(WIFISTATESEARCH, handleWIFIStateSearchMsg),
    HANDLE(WIFISTATERENEW, handleWIFIStateRenewMsg),
    HANDLE(WIFISTATEACK, handleWIFIStateAckMsg),
    HANDLE(WPS_CTRL_REQ, handleWPSCrtlReqMsg),
    HANDLE(WPS_CTRL_RESP, handleWPSCrtlRespMsg),
    HANDLE(APSteering_REQ, handleAPSteeringReqMsg),
    HANDLE(APSteering_RESP, handleAPSteeringRespMsg),
    HANDLE(FW_CTRL_REQ, handleFWCrtlReqMsg),
    HANDLE(FW_CTRL_RESP, handleFWCrtlRespMsg),
    HANDLE(RESETTODEFAULT_REQ, handleResetToDefaultReqMsg),
    HANDLE(RESETTODEFAULT_RESP, handleResetToDefaultRespMsg),
    HANDLE(SENDCOMMAND_REQ, handleSendCommandReqMsg),
    HANDLE(SPEEDTEST_ACK, handleSpeedTestAckMsg),
    HANDLE_COPIES(INTF_NAME_RESP, handleIntfNameRespMsg),
    HANDLE(REQUESTLOGFILE_REQ, handleRequestLogFileReqMsg),
    HANDLE(REQUESTLOGFILE_RESP, handleResponseLogFileReqMsg),
    HANDLE(REQUESTLOGFILE_ACK, handleAckLogFileReqMsg),
    HANDLE(APAUTOCONFIG_ACK, handleAPautoconfigAckMsg),
    HANDLE(SENDCOMMAND_RESP, handleSendCommandRespMsg),
    HANDLE(LED_CTRL_REQ, handleLEDCtrlReqMsg),
    HANDLE(LED_CTRL_MCAST_REQ, handleLEDCtrlMCASTReqMsg),
    HANDLE(LED_CTRL_RESP, handleLEDCtrlRespMsg),
    HANDLE_COPIES(WIFI_CLIENT_MCAST2, handleWIFIClientmcastMsg),
    HANDLE_COPIES(FWSTATECHANGE_REQ, handleFWStateChangeRequestMsg),
    HANDLE_COPIES(FWSTATECHANGE_RESP, handleFWStateChangeResponseMsg),
    HANDLE(WIFICHANNELSEARCH, handleWIFIChannelSearchMsg),
    HANDLE(WIFICHANNELRENEW, handleWIFIChannelRenewMsg),
    HANDLE(WIFICHANNELACK, handleWIFIChannelAckMsg),
    HANDLE(SECURITYCTRL_MSG, handleSecurityCtrlReqMsg),
    HANDLE_COPIES(VEND_DISC, handleVendDiscMsg),
    HANDLE(FW_CTRL_2_REQ, handleFWCrtl2ReqMsg),
    HANDLE(NETWORKCTRL_REQ, handleNetworkCtrlReqMsg),
    HANDLE(NETWORKCTRL_RESP, handleNetworkCtrlRespMsg),
    HANDLE_COPIES(CONF_QUERY2, handleConfQueryMsg2),
    HANDLE_COPIES(CONF_RESP2, handleConfRespMsg2),
    handler<VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ, handleWIFICountryCodeCtrlReqMsg>("VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ", 4),
    handler<VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP, handleWIFICountryCodeCtrlRespMsg>("VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP", 4),
    HANDLE(UPDATEEXTENDCONF_REQ, handleUpdateExtenderconifgReqMsg),
    HANDLE(SENDBCNRPT_REQ, handleSendBcnRptReqMsg),
    handler<VEND_MSG_TYPE_SENDBCNRPT_RESP, handleGetBcnRptRespMsg>("VEND_MSG_TYPE_GETBCNRPT_RESP"),
    HANDLE(GETBCNRPT_REQ, handleGetBcnRptReqMsg),
    HANDLE(GETBCNRPT_RESP, handleGetBcnRptRespMsg),
    HANDLE(SENDBTM_REQ, handleBTMReqMsg),
    HANDLE(SENDBTM_RESP, handleBTMRespMsg),
    HANDLE(ADDBLACKLIST_REQ, handleBlacklistReqMsg),
    HANDLE(ADDBLACKLIST_RESP, handleBlacklistRespMsg),
    handler<VEND_MSG_TYPE_DELBLACKLIST_REQ, handleBlacklistReqMsg>("VEND_MSG_TYPE_ADDBLACKLIST_REQ"),
    handler<VEND_MSG_TYPE_DELBLACKLIST_RESP, handleBlacklistRespMsg>("VEND_MSG_TYPE_ADDBLACKLIST_RESP"),
    HANDLE(SYSTEM_CTRL_REQ, handleSystemCtrlReqMsg),
    HANDLE(SYSTEM_CTRL_MCAST_REQ, handleSystemCtrlMCASTReqMsg),
    HANDLE(SYSTEM_CTRL_RESP, handleSystemCtrlRespMsg),
};
#undef HANDLE
#undef HANDLE_COPIES
// clang-format on
static_assert(std::ranges::is_sorted(kHandlers, {}, &VendHandler::number));

int handleVendSpecMsg(const VendContext& context) {
    const uint16_t number = context.msg.vendMsgType;
    const VendHandler* row = findVendHandler(number);
    if (row == nullptr) {
        LOG(3, "vendor specific message type (%d) is unsoppourted\r\n", number);
        return kFailure;
    }
    LOG(row->logLevel, "vendor specific message type is (%d)[%s]\r\n", number, row->label);
    // The message that carries a remote command has been looked up already.
    if (!row->once || context.path == kVendPathCommand) return row->handle(context);
    if (repeatAnswers(context)) return kDuplicate;
    const int result = row->handle(context);
    if (!context.outcome.isUndone) rememberAnswers(context);
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

int parseVendSpecTlvs(const Port& port, const MacAddr& srcMac, uint16_t msgId, Bytes area,
                      const Proof& proof) {
    VendMsg msg;
    bool decoded = false;
    if (!walkTlvs(area, [&](Bytes tlv) {
            if (tlv[0] != kTlvVendSpec) return parseUnsupportedTlv(tlv);
            decoded = true;
            return parseVendSpecTlv(tlv, msg);
        })) {
        return kFailure;
    }
    if (!decoded || parseEndOfMsgTlv(area) != kOk) return kFailure;
    VendOutcome outcome;
    const VendContext context{port, srcMac, msgId, msg, kVendPathNetwork, outcome};
    if (!mayPass(context, proof)) return kDuplicate;
    const int result = handleVendSpecMsg(context);
    if (outcome.isUndone) forgetCounter(proof);
    return result;
}

int handleVendSpecMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId, const VendMsg& msg,
                      int path) {
    VendOutcome outcome;
    return handleVendSpecMsg({port, srcMac, msgId, msg, path, outcome});
}
