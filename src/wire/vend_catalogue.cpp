#include "wire/vend_catalogue.h"

#include <algorithm>

#include "handlers/conf_handlers.h"
#include "handlers/control_handlers.h"
#include "handlers/diagnosis_handlers.h"
#include "handlers/firmware_handlers.h"
#include "handlers/intf_handlers.h"
#include "handlers/remote_command.h"
#include "handlers/steering_handlers.h"
#include "handlers/vend_disc.h"
#include "handlers/wifi_handlers.h"
#include "wire/vend_payloads.h"

namespace {

template <typename Payload>
bool encode(const VendPayload& payload, const SendContext& context, std::vector<uint8_t>& out) {
    const auto* source = dynamic_cast<const Payload*>(&payload);
    if (source == nullptr) return false;
    FieldWriter writer(out, context);
    Payload::describe(writer, *source);
    return writer.ok();
}

template <typename Payload>
std::unique_ptr<VendPayload> parse(ByteReader& reader, size_t payloadLen) {
    auto payload = std::make_unique<Payload>();
    FieldReader fields(reader, payloadLen);
    Payload::describe(fields, *payload);
    return payload;
}

#define VEND_ROW(number, label, level, Payload, handler, meaning)                         \
    VendType {                                                                            \
        number, label, level, meaning, #Payload, encode<Payload>, parse<Payload>, handler \
    }
#define VEND_TYPE(number, name, level, Payload, handler, meaning) \
    VEND_ROW(number, "VEND_MSG_TYPE_" #name, level, Payload, handler, meaning)
// Encoded and parsed, but refused on arrival.
#define UNUSED_TYPE(number, Payload) VEND_ROW(number, nullptr, 3, Payload, nullptr, "not used")

// A row a line.
// clang-format off
constexpr VendType kTypes[] = {
    VEND_TYPE(0, CONF_QUERY, 3, AlMacPayload, handleConfQueryMsg, "asks a device for its configuration"),
    VEND_TYPE(1, CONF_RESP, 3, ConfResp, handleConfRespMsg, "configuration of the sender"),
    VEND_TYPE(2, INTF_PWR_STATE_QUERY, 3, AlMacPayload, handleIntfPwrStateQueryMsg, "asks a device for the power states of its interfaces"),
    VEND_TYPE(3, INTF_PWR_STATE_RESP, 3, IntfPwrStateResp, handleIntfPwrStateRespMsg, "power states of the sender's interfaces"),
    VEND_TYPE(4, REBOOT_REQ, 3, AlMacPayload, handleRebootReqMsg, "orders a reboot"),
    VEND_TYPE(5, REBOOT_RESP, 3, RetCodePayload, handleRebootRespMsg, "result"),
    VEND_TYPE(6, INTF_PWR_CTRL_REQ, 3, IntfPwrCtrlReq, handleIntfPwrCrtlReqMsg, "orders power states of interfaces"),
    VEND_TYPE(7, INTF_PWR_CTRL_RESP, 3, IntfPwrCtrlResp, handleIntfPwrCrtlRespMsg, "result for each interface"),
    VEND_TYPE(8, WIFI_STATE_REQ, 3, AlMacPayload, handleWIFIStateQueryMsg, "asks a device for its Wi-Fi stations"),
    VEND_TYPE(9, WIFI_STATE_RESP, 3, WifiStateResp, handleWIFIStateRespMsg, "Wi-Fi stations of the sender"),
    VEND_TYPE(10, SPEEDTEST_START, 3, SpeedTestCtrlReq, handleSpeedTestStartStopMsg, "orders a speed test"),
    VEND_TYPE(11, SPEEDTEST_DATA, 3, TextPayload, handleSpeedTestDataMsg, "result line of a speed test"),
    VEND_TYPE(12, SPEEDTEST_STOP, 3, SpeedTestCtrlReq, handleSpeedTestStartStopMsg, "ends a speed test"),
    VEND_TYPE(13, WIFISTATESEARCH, 3, AlMacPayload, handleWIFIStateSearchMsg, "an Enrollee asks for the Wi-Fi state"),
    VEND_TYPE(14, WIFISTATERENEW, 3, TextPayload, handleWIFIStateRenewMsg, "Wi-Fi state of the Registrar"),
    VEND_TYPE(15, WIFISTATEACK, 3, TextPayload, handleWIFIStateAckMsg, "result text"),
    VEND_TYPE(16, WPS_CTRL_REQ, 3, OptionPayload, handleWPSCrtlReqMsg, "option: WPSOption; bit 0 AP auto-configuration, 1 send search, 2 send response"),
    VEND_TYPE(17, WPS_CTRL_RESP, 3, RetCodePayload, handleWPSCrtlRespMsg, "result"),
    VEND_TYPE(18, APSteering_REQ, 3, OptionPayload, handleAPSteeringReqMsg, "option: of the AP steering"),
    VEND_TYPE(19, APSteering_RESP, 3, RetCodePayload, handleAPSteeringRespMsg, "result"),
    VEND_TYPE(20, FW_CTRL_REQ, 3, FwCtrlReq, handleFWCrtlReqMsg, "firmware order"),
    VEND_TYPE(21, FW_CTRL_RESP, 3, RetCodePayload, handleFWCrtlRespMsg, "result"),
    VEND_TYPE(22, RESETTODEFAULT_REQ, 3, AlMacPayload, handleResetToDefaultReqMsg, "orders a reset to default"),
    VEND_TYPE(23, RESETTODEFAULT_RESP, 3, RetCodePayload, handleResetToDefaultRespMsg, "result"),
    VEND_TYPE(25, SENDCOMMAND_REQ, 3, SendCommandReq, handleSendCommandReqMsg, "order as a line of text"),
    VEND_TYPE(26, SPEEDTEST_ACK, 3, OptionPayload, handleSpeedTestAckMsg, "option: result"),
    VEND_TYPE(27, INTF_NAME_RESP, 3, IntfNameResp, handleIntfNameRespMsg, "names of the sender's interfaces"),
    VEND_TYPE(28, REQUESTLOGFILE_REQ, 3, AlMacPayload, handleRequestLogFileReqMsg, "asks a device for its log file"),
    VEND_TYPE(29, REQUESTLOGFILE_RESP, 3, LogFileResp, handleResponseLogFileReqMsg, "where the log file is"),
    VEND_TYPE(30, REQUESTLOGFILE_ACK, 3, OptionPayload, handleAckLogFileReqMsg, "option: result of the download"),
    VEND_TYPE(31, APAUTOCONFIG_ACK, 3, OptionPayload, handleAPautoconfigAckMsg, "option: frequency band that was configured"),
    VEND_TYPE(32, SENDCOMMAND_RESP, 3, RetCodePayload, handleSendCommandRespMsg, "result"),
    VEND_TYPE(33, LED_CTRL_REQ, 3, OptionPayload, handleLEDCtrlReqMsg, "option: LEDOption"),
    VEND_TYPE(34, LED_CTRL_MCAST_REQ, 3, OptionPayload, handleLEDCtrlMCASTReqMsg, "option: LEDOption, for all"),
    VEND_TYPE(35, LED_CTRL_RESP, 3, RetCodePayload, handleLEDCtrlRespMsg, "result"),
    VEND_TYPE(36, WIFI_CLIENT_MCAST2, 3, TextPayload, handleWIFIClientmcastMsg, "records of the sender's Wi-Fi stations"),
    VEND_TYPE(37, FWSTATECHANGE_REQ, 3, AlMacPayload, handleFWStateChangeRequestMsg, "asks for the firmware state; almac is the sender's"),
    VEND_TYPE(38, FWSTATECHANGE_RESP, 3, OptionPayload, handleFWStateChangeResponseMsg, "option: firmware state"),
    VEND_TYPE(39, WIFICHANNELSEARCH, 3, AlMacPayload, handleWIFIChannelSearchMsg, "asks for the Wi-Fi channels"),
    VEND_TYPE(40, WIFICHANNELRENEW, 3, TextPayload, handleWIFIChannelRenewMsg, "Wi-Fi channels of the Registrar"),
    VEND_TYPE(41, WIFICHANNELACK, 3, TextPayload, handleWIFIChannelAckMsg, "result text"),
    UNUSED_TYPE(42, AlMacPayload),
    UNUSED_TYPE(43, TextPayload),
    VEND_TYPE(44, SECURITYCTRL_MSG, 3, SecurityCtrlMsg, handleSecurityCtrlReqMsg, "message of the security exchange"),
    VEND_TYPE(45, VEND_DISC, 3, VendDisc, handleVendDiscMsg, "I am here"),
    VEND_TYPE(46, FW_CTRL_2_REQ, 3, FwCtrl2Req, handleFWCrtl2ReqMsg, "firmware order with a file name"),
    UNUSED_TYPE(47, OptionPayload),
    UNUSED_TYPE(48, OptionPayload),
    VEND_TYPE(49, NETWORKCTRL_REQ, 3, NetworkCtrlReq, handleNetworkCtrlReqMsg, "network control"),
    VEND_TYPE(50, NETWORKCTRL_RESP, 3, NetworkCtrlResp, handleNetworkCtrlRespMsg, "result"),
    VEND_TYPE(51, CONF_QUERY2, 3, AlMacPayload, handleConfQueryMsg2, "asks a device for its IPv6 addresses"),
    VEND_TYPE(52, CONF_RESP2, 3, ConfResp, handleConfRespMsg2, "IPv6 addresses of the sender"),
    VEND_TYPE(53, WIFICOUNTRYCODE_REQ, 4, CountryCodeReq, handleWIFICountryCodeCtrlReqMsg, "orders a Wi-Fi country code"),
    VEND_TYPE(54, WIFICOUNTRYCODE_RESP, 4, RetCodePayload, handleWIFICountryCodeCtrlRespMsg, "result"),
    UNUSED_TYPE(55, OptionPayload),
    VEND_TYPE(56, UPDATEEXTENDCONF_REQ, 3, TextPayload, handleUpdateExtenderconifgReqMsg, "configuration for the extenders; an empty one: they look at their own anew"),
    VEND_TYPE(64, SENDBCNRPT_REQ, 3, BcnRptReqPayload, handleSendBcnRptReqMsg, "a station shall be asked for a beacon report"),
    VEND_TYPE(65, GETBCNRPT_RESP, 3, BcnRptResp, handleGetBcnRptRespMsg, "result of 64"),
    VEND_TYPE(66, GETBCNRPT_REQ, 3, BcnRptReqPayload, handleGetBcnRptReqMsg, "asks for the last beacon report of a station"),
    VEND_TYPE(67, GETBCNRPT_RESP, 3, BcnRptResp, handleGetBcnRptRespMsg, "the report; the same as 65"),
    VEND_TYPE(68, SENDBTM_REQ, 3, BtmReqPayload, handleBTMReqMsg, "a station shall move to another BSS"),
    VEND_TYPE(69, SENDBTM_RESP, 3, RetCodePayload, handleBTMRespMsg, "result"),
    VEND_TYPE(70, ADDBLACKLIST_REQ, 3, BlacklistReq, handleBlacklistReqMsg, "a station for the blacklist"),
    VEND_TYPE(71, ADDBLACKLIST_RESP, 3, BlacklistResp, handleBlacklistRespMsg, "result"),
    VEND_TYPE(72, ADDBLACKLIST_REQ, 3, BlacklistReq, handleBlacklistReqMsg, "the same as 70"),
    VEND_TYPE(73, ADDBLACKLIST_RESP, 3, BlacklistResp, handleBlacklistRespMsg, "the same as 71"),
    VEND_TYPE(74, SYSTEM_CTRL_REQ, 3, OptionPayload, handleSystemCtrlReqMsg, "option: SystemOption"),
    VEND_TYPE(75, SYSTEM_CTRL_MCAST_REQ, 3, OptionPayload, handleSystemCtrlMCASTReqMsg, "option: SystemOption, for all"),
    VEND_TYPE(76, SYSTEM_CTRL_RESP, 3, RetCodePayload, handleSystemCtrlRespMsg, "result"),
};
// clang-format on

#undef UNUSED_TYPE
#undef VEND_TYPE
#undef VEND_ROW

static_assert(std::ranges::is_sorted(kTypes, {}, &VendType::vendMsgType));

}  // namespace

std::span<const VendType> vendTypes() {
    return kTypes;
}

const VendType* findVendType(uint16_t vendMsgType) {
    const auto* const it =
        std::ranges::lower_bound(kTypes, vendMsgType, {}, &VendType::vendMsgType);
    return it != std::end(kTypes) && it->vendMsgType == vendMsgType ? it : nullptr;
}
