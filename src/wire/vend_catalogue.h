// The catalogue of the vendor messages: the payload and meaning of each number. A new message needs
// a number in vend_msg.h, a struct in vend_payloads.h unless one of those fits, a row here, and a
// handler with a row in handlers/vend_dispatch.cpp.
#pragma once

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "wire/vend_msg.h"

struct VendType {
    uint16_t number;
    size_t payload;      // index of the alternative of VendPayloads
    const char* layout;  // name of that struct
    const char* meaning;
};

// The index of a struct among the alternatives of VendPayloads.
template <typename Payload, size_t kIndex = 0>
consteval size_t payloadIndex() {
    if constexpr (std::is_same_v<std::variant_alternative_t<kIndex, VendPayloads>, Payload>) {
        return kIndex;
    } else {
        return payloadIndex<Payload, kIndex + 1>();
    }
}

// One row per line, sorted by number.
// clang-format off
#define VEND_TYPE(name, Payload, meaning) \
    VendType{VEND_MSG_TYPE_##name, payloadIndex<Payload>(), #Payload, meaning}
inline constexpr VendType kVendTypes[] = {
    VEND_TYPE(CONF_QUERY, AlMacPayload, "asks a device for its configuration"),
    VEND_TYPE(CONF_RESP, ConfResp, "configuration of the sender"),
    VEND_TYPE(INTF_PWR_STATE_QUERY, AlMacPayload, "asks a device for the power states of its interfaces"),
    VEND_TYPE(INTF_PWR_STATE_RESP, IntfPwrStateResp, "power states of the sender's interfaces"),
    VEND_TYPE(REBOOT_REQ, AlMacPayload, "orders a reboot"),
    VEND_TYPE(REBOOT_RESP, RetCodePayload, "result"),
    VEND_TYPE(INTF_PWR_CTRL_REQ, IntfPwrCtrlReq, "orders power states of interfaces"),
    VEND_TYPE(INTF_PWR_CTRL_RESP, IntfPwrCtrlResp, "result for each interface"),
    VEND_TYPE(WIFI_STATE_REQ, AlMacPayload, "asks a device for its Wi-Fi stations"),
    VEND_TYPE(WIFI_STATE_RESP, WifiStateResp, "Wi-Fi stations of the sender"),
    VEND_TYPE(SPEEDTEST_START, SpeedTestCtrlReq, "orders a speed test"),
    VEND_TYPE(SPEEDTEST_DATA, TextPayload, "result line of a speed test"),
    VEND_TYPE(SPEEDTEST_STOP, SpeedTestCtrlReq, "ends a speed test"),
    VEND_TYPE(WIFISTATESEARCH, AlMacPayload, "an Enrollee asks for the Wi-Fi state"),
    VEND_TYPE(WIFISTATERENEW, TextPayload, "Wi-Fi state of the Registrar"),
    VEND_TYPE(WIFISTATEACK, TextPayload, "result text"),
    VEND_TYPE(WPS_CTRL_REQ, OptionPayload, "option: WPSOption; bit 0 AP auto-configuration, 1 send search, 2 send response"),
    VEND_TYPE(WPS_CTRL_RESP, RetCodePayload, "result"),
    VEND_TYPE(APSteering_REQ, OptionPayload, "option: of the AP steering"),
    VEND_TYPE(APSteering_RESP, RetCodePayload, "result"),
    VEND_TYPE(FW_CTRL_REQ, FwCtrlReq, "firmware order"),
    VEND_TYPE(FW_CTRL_RESP, RetCodePayload, "result"),
    VEND_TYPE(RESETTODEFAULT_REQ, AlMacPayload, "orders a reset to default"),
    VEND_TYPE(RESETTODEFAULT_RESP, RetCodePayload, "result"),
    VEND_TYPE(SENDCOMMAND_REQ, SendCommandReq, "order as a line of text"),
    VEND_TYPE(SPEEDTEST_ACK, OptionPayload, "option: result"),
    VEND_TYPE(INTF_NAME_RESP, IntfNameResp, "names of the sender's interfaces"),
    VEND_TYPE(REQUESTLOGFILE_REQ, AlMacPayload, "asks a device for its log file"),
    VEND_TYPE(REQUESTLOGFILE_RESP, LogFileResp, "where the log file is"),
    VEND_TYPE(REQUESTLOGFILE_ACK, OptionPayload, "option: result of the download"),
    VEND_TYPE(APAUTOCONFIG_ACK, OptionPayload, "option: frequency band that was configured"),
    VEND_TYPE(SENDCOMMAND_RESP, RetCodePayload, "result"),
    VEND_TYPE(LED_CTRL_REQ, OptionPayload, "option: LEDOption"),
    VEND_TYPE(LED_CTRL_MCAST_REQ, OptionPayload, "option: LEDOption, for all"),
    VEND_TYPE(LED_CTRL_RESP, RetCodePayload, "result"),
    VEND_TYPE(WIFI_CLIENT_MCAST2, TextPayload, "records of the sender's Wi-Fi stations"),
    VEND_TYPE(FWSTATECHANGE_REQ, AlMacPayload, "asks for the firmware state; almac is the sender's"),
    VEND_TYPE(FWSTATECHANGE_RESP, OptionPayload, "option: firmware state"),
    VEND_TYPE(WIFICHANNELSEARCH, AlMacPayload, "asks for the Wi-Fi channels"),
    VEND_TYPE(WIFICHANNELRENEW, TextPayload, "Wi-Fi channels of the Registrar"),
    VEND_TYPE(WIFICHANNELACK, TextPayload, "result text"),
    VEND_TYPE(UNUSED_42, AlMacPayload, "not used"),
    VEND_TYPE(UNUSED_43, TextPayload, "not used"),
    VEND_TYPE(SECURITYCTRL_MSG, SecurityCtrlMsg, "message of the security exchange"),
    VEND_TYPE(VEND_DISC, VendDisc, "I am here"),
    VEND_TYPE(FW_CTRL_2_REQ, FwCtrl2Req, "firmware order with a file name"),
    VEND_TYPE(UNUSED_47, OptionPayload, "not used"),
    VEND_TYPE(UNUSED_48, OptionPayload, "not used"),
    VEND_TYPE(NETWORKCTRL_REQ, NetworkCtrlReq, "network control"),
    VEND_TYPE(NETWORKCTRL_RESP, NetworkCtrlResp, "result"),
    VEND_TYPE(CONF_QUERY2, AlMacPayload, "asks a device for its IPv6 addresses"),
    VEND_TYPE(CONF_RESP2, ConfResp, "IPv6 addresses of the sender"),
    VEND_TYPE(WIFICOUNTRYCODE_REQ, CountryCodeReq, "orders a Wi-Fi country code"),
    VEND_TYPE(WIFICOUNTRYCODE_RESP, RetCodePayload, "result"),
    VEND_TYPE(UNUSED_55, OptionPayload, "not used"),
    VEND_TYPE(UPDATEEXTENDCONF_REQ, TextPayload, "configuration for the extenders; an empty one makes them read their own again"),
    VEND_TYPE(SENDBCNRPT_REQ, BcnRptReqPayload, "a station shall be asked for a beacon report"),
    VEND_TYPE(SENDBCNRPT_RESP, BcnRptResp, "result of 64"),
    VEND_TYPE(GETBCNRPT_REQ, BcnRptReqPayload, "asks for the last beacon report of a station"),
    VEND_TYPE(GETBCNRPT_RESP, BcnRptResp, "the report; the same as 65"),
    VEND_TYPE(SENDBTM_REQ, BtmReqPayload, "a station shall move to another BSS"),
    VEND_TYPE(SENDBTM_RESP, RetCodePayload, "result"),
    VEND_TYPE(ADDBLACKLIST_REQ, BlacklistReq, "a station for the blacklist"),
    VEND_TYPE(ADDBLACKLIST_RESP, BlacklistResp, "result"),
    VEND_TYPE(DELBLACKLIST_REQ, BlacklistReq, "the same as 70"),
    VEND_TYPE(DELBLACKLIST_RESP, BlacklistResp, "the same as 71"),
    VEND_TYPE(SYSTEM_CTRL_REQ, OptionPayload, "option: SystemOption"),
    VEND_TYPE(SYSTEM_CTRL_MCAST_REQ, OptionPayload, "option: SystemOption, for all"),
    VEND_TYPE(SYSTEM_CTRL_RESP, RetCodePayload, "result"),
};
#undef VEND_TYPE
// clang-format on
static_assert(std::ranges::is_sorted(kVendTypes, {}, &VendType::number));

// The row of a number, nullptr if it is unknown.
constexpr const VendType* findVendType(uint16_t number) {
    const auto* const it = std::ranges::lower_bound(kVendTypes, number, {}, &VendType::number);
    return it != std::end(kVendTypes) && it->number == number ? it : nullptr;
}

// The struct that a message of this number carries.
template <uint16_t kNumber>
using PayloadOf = std::variant_alternative_t<findVendType(kNumber)->payload, VendPayloads>;
