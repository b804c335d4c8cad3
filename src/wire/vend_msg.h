// The vendor message record and the numbers of the vendor messages.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "base/mac_addr.h"

// Numbers without a name here are refused everywhere, those without a label on arrival only.
enum VendMsgType : uint16_t {
    VEND_MSG_TYPE_CONF_QUERY = 0,
    VEND_MSG_TYPE_CONF_RESP = 1,
    VEND_MSG_TYPE_INTF_PWR_STATE_QUERY = 2,
    VEND_MSG_TYPE_INTF_PWR_STATE_RESP = 3,
    VEND_MSG_TYPE_REBOOT_REQ = 4,
    VEND_MSG_TYPE_REBOOT_RESP = 5,
    VEND_MSG_TYPE_INTF_PWR_CTRL_REQ = 6,
    VEND_MSG_TYPE_INTF_PWR_CTRL_RESP = 7,
    VEND_MSG_TYPE_WIFI_STATE_REQ = 8,
    VEND_MSG_TYPE_WIFI_STATE_RESP = 9,
    VEND_MSG_TYPE_SPEEDTEST_START = 10,
    VEND_MSG_TYPE_SPEEDTEST_DATA = 11,
    VEND_MSG_TYPE_SPEEDTEST_STOP = 12,
    VEND_MSG_TYPE_WIFISTATESEARCH = 13,
    VEND_MSG_TYPE_WIFISTATERENEW = 14,
    VEND_MSG_TYPE_WIFISTATEACK = 15,
    VEND_MSG_TYPE_WPS_CTRL_REQ = 16,
    VEND_MSG_TYPE_WPS_CTRL_RESP = 17,
    VEND_MSG_TYPE_APSteering_REQ = 18,
    VEND_MSG_TYPE_APSteering_RESP = 19,
    VEND_MSG_TYPE_FW_CTRL_REQ = 20,
    VEND_MSG_TYPE_FW_CTRL_RESP = 21,
    VEND_MSG_TYPE_RESETTODEFAULT_REQ = 22,
    VEND_MSG_TYPE_RESETTODEFAULT_RESP = 23,
    VEND_MSG_TYPE_SENDCOMMAND_REQ = 25,
    VEND_MSG_TYPE_SPEEDTEST_ACK = 26,
    VEND_MSG_TYPE_INTF_NAME_RESP = 27,
    VEND_MSG_TYPE_REQUESTLOGFILE_REQ = 28,
    VEND_MSG_TYPE_REQUESTLOGFILE_RESP = 29,
    VEND_MSG_TYPE_REQUESTLOGFILE_ACK = 30,
    VEND_MSG_TYPE_APAUTOCONFIG_ACK = 31,
    VEND_MSG_TYPE_SENDCOMMAND_RESP = 32,
    VEND_MSG_TYPE_LED_CTRL_REQ = 33,
    VEND_MSG_TYPE_LED_CTRL_MCAST_REQ = 34,
    VEND_MSG_TYPE_LED_CTRL_RESP = 35,
    VEND_MSG_TYPE_WIFI_CLIENT_MCAST2 = 36,
    VEND_MSG_TYPE_FWSTATECHANGE_REQ = 37,
    VEND_MSG_TYPE_FWSTATECHANGE_RESP = 38,
    VEND_MSG_TYPE_WIFICHANNELSEARCH = 39,
    VEND_MSG_TYPE_WIFICHANNELRENEW = 40,
    VEND_MSG_TYPE_WIFICHANNELACK = 41,
    VEND_MSG_TYPE_SECURITYCTRL_MSG = 44,
    VEND_MSG_TYPE_VEND_DISC = 45,
    VEND_MSG_TYPE_FW_CTRL_2_REQ = 46,
    VEND_MSG_TYPE_NETWORKCTRL_REQ = 49,
    VEND_MSG_TYPE_NETWORKCTRL_RESP = 50,
    VEND_MSG_TYPE_CONF_QUERY2 = 51,
    VEND_MSG_TYPE_CONF_RESP2 = 52,
    VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ = 53,
    VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP = 54,
    VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ = 56,
    VEND_MSG_TYPE_SENDBCNRPT_REQ = 64,
    VEND_MSG_TYPE_SENDBCNRPT_RESP = 65,  // shares its label and its meaning with the next
    VEND_MSG_TYPE_GETBCNRPT_REQ = 66,
    VEND_MSG_TYPE_GETBCNRPT_RESP = 67,
    VEND_MSG_TYPE_SENDBTM_REQ = 68,
    VEND_MSG_TYPE_SENDBTM_RESP = 69,
    VEND_MSG_TYPE_ADDBLACKLIST_REQ = 70,
    VEND_MSG_TYPE_ADDBLACKLIST_RESP = 71,
    VEND_MSG_TYPE_DELBLACKLIST_REQ = 72,   // the same as 70, which is meant
    VEND_MSG_TYPE_DELBLACKLIST_RESP = 73,  // the same as 71
    VEND_MSG_TYPE_SYSTEM_CTRL_REQ = 74,
    VEND_MSG_TYPE_SYSTEM_CTRL_MCAST_REQ = 75,
    VEND_MSG_TYPE_SYSTEM_CTRL_RESP = 76,
};

// What a vendor message carries, in the decoded form of its type (vendor/payloads.h).
struct VendPayload {
    VendPayload() = default;
    VendPayload(const VendPayload&) = default;
    VendPayload& operator=(const VendPayload&) = default;
    virtual ~VendPayload() = default;
};

struct VendMsg {
    std::array<uint8_t, 3> oui{};
    MacAddr alMac;        // of the sending device
    uint8_t headerA = 0;  // carried through, never validated
    uint8_t headerB = 1;
    uint16_t vendMsgType = 0;
    std::unique_ptr<VendPayload> payload;
};
