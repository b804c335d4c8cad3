// The payloads of the vendor messages in decoded form, one struct per layout. The comment above
// each shows its bytes: offset (or "n", where it varies), name and width in bytes.
// docs/vendor-protocol.md lists the messages with their payloads.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "base/mac_addr.h"
#include "base/result.h"

// Capacities: numbers of entries, and lengths of texts and data in bytes.
inline constexpr size_t kMaxIntfEntries = 30;
inline constexpr size_t kMaxItems = 255;
inline constexpr size_t kMaxItemValue = 128;
inline constexpr size_t kMaxUrl = 1023;  // the platform has 1,024 bytes, terminator included
inline constexpr size_t kMaxFileName = 511;
inline constexpr size_t kMaxLogFileName = 255;
inline constexpr size_t kMaxSyncText = 1374;  // a longer TLV could not be sent
inline constexpr size_t kMaxCommand = 2048;
inline constexpr size_t kMaxNetworkCommand = 128;
inline constexpr size_t kMaxCountryCode = 16;
inline constexpr size_t kMaxSecurityData = 1400;
inline constexpr size_t kMaxBcnRpt = 600;
inline constexpr size_t kMaxSsid = 32;

// Only an AL MAC: of the addressed device in queries and orders, of the sender in searches.
//   0 almac (6)
struct AlMacPayload {
    MacAddr almac;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
    }
};

// The result of an order: 0 done, 7 not addressed to the device, 16 refused or failed.
//   0 retCode (1)
struct RetCodePayload {
    uint8_t retCode = 0;

    RetCodePayload() = default;
    explicit RetCodePayload(int result) : retCode(resultByte(result)) {}

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u8("retCode", p.retCode);
    }
};

// One number for one device. Its meaning depends on the message: LEDOption, SystemOption,
// WPSOption, AP steering option, frequency band, firmware state or result.
//   0 almac (6), 6 option (1)
struct OptionPayload {
    MacAddr almac;
    uint8_t option = 0;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.u8("option", p.option);
    }
};

// A text whose content the platforms define, or a chunk of records of Wi-Fi clients.
//   0 almac (6), 6 datalen (2), 8 data (datalen)
struct TextPayload {
    MacAddr almac;
    std::string data;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.text("datalen", "data", p.data, kMaxSyncText);
    }
};

// A value with its number and length.
//   n type (1), n+1 length (2), n+3 value (length)
struct Item {
    uint8_t type = 0;
    std::vector<uint8_t> value;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p, size_t capacity) {
        f.u8("type", p.type);
        f.data("length", "value", p.value, capacity, [] {});
    }
};

// The configuration and state of the sender.
//   0 almac (6), 6 itemnum (1), 7 items
struct ConfResp {
    MacAddr almac;  // of the responding device
    std::vector<Item> items;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.list("itemnum", p.items, kMaxItems,
               [](auto& each, auto& item) { Item::describe(each, item, kMaxItemValue); });
    }
};

// An interface with its power state or a result.
//   n intfmac (6), n+6 mediaType (2), n+8 pwrState or retCode (1)
struct IntfValue {
    MacAddr mac;
    uint16_t mediaType = 0;
    uint8_t value = 0;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p, const char* name) {
        f.mac("intfmac", p.mac);
        f.u16("mediaType", p.mediaType);
        f.u8(name, p.value);
    }
};

// The power states of the sender's interfaces.
//   0 almac (6), 6 intfnum (1), 7 entries of 9
struct IntfPwrStateResp {
    MacAddr almac;
    std::vector<IntfValue> intfs;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.list("intfnum", p.intfs, kMaxIntfEntries,
               [](auto& each, auto& intf) { IntfValue::describe(each, intf, "pwrState"); });
    }
};

// Orders a power state for interfaces. A zero MAC means all interfaces of the media type.
//   0 almac (6), 6 intfnum (1), 7 entries of 8: intfmac (6), mediaType (2); n pwrState (1)
struct IntfPwrCtrlReq {
    struct Entry {
        MacAddr mac;
        uint16_t mediaType = 0;
    };
    MacAddr almac;
    std::vector<Entry> intfs;
    uint8_t pwrState = 0;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.list("intfnum", p.intfs, kMaxIntfEntries, [](auto& each, auto& intf) {
            each.mac("intfmac", intf.mac);
            each.u16("mediaType", intf.mediaType);
        });
        f.u8("pwrState", p.pwrState);
    }
};

// The result for each of these interfaces.
//   0 intfnum (1), 1 entries of 9
struct IntfPwrCtrlResp {
    std::vector<IntfValue> intfs;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.list("intfnum", p.intfs, kMaxIntfEntries,
               [](auto& each, auto& intf) { IntfValue::describe(each, intf, "retCode"); });
    }
};

// The Wi-Fi stations of the sender. Old senders use one byte each for rate and rssi.
//   0 num (1), 1 entries of 13 (or 11): mac (6), mediaType (2), rate (2), rssi (2), signalLevel (1)
struct WifiStateResp {
    struct Entry {
        MacAddr mac;
        uint16_t mediaType = 0;
        uint16_t rate = 0;
        uint16_t rssi = 0;
        uint8_t signalLevel = 0;
    };
    std::vector<Entry> entries;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.tellWidth(1, 13);
        f.list("num", p.entries, 255, [](auto& each, auto& entry) {
            each.mac("mac", entry.mac);
            each.u16("mediaType", entry.mediaType);
            each.wide("rate", entry.rate);
            each.wide("rssi", entry.rssi);
            each.u8("signalLevel", entry.signalLevel);
        });
    }
};

// Starts or stops a speed test.
//   0 Enable (1), 1 Action (1), 2 URLcount (2), 4 URL (URLcount), n StartTime (4, seconds since
//   the epoch), n+4 runtime (4, seconds), n+8 lanMac (6)
struct SpeedTestCtrlReq {
    uint8_t enable = 0;
    uint8_t action = 0;
    std::string url;
    uint32_t startTime = 0;
    uint32_t runtime = 0;
    MacAddr lanMac;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u8("Enable", p.enable);
        f.u8("Action", p.action);
        f.text("URLcount", "URL", p.url, kMaxUrl);
        f.u32("StartTime", p.startTime);
        f.u32("runtime", p.runtime);
        f.mac("lanMac", p.lanMac);
    }
};

// A firmware order.
//   0 FWOption (1), 1 length (2), 3 FWTopoOption (1), 4 FWURL (length - 1); with a length of 0
//   nothing follows
struct FwCtrlReq {
    uint8_t fwOption = 0;
    uint8_t fwTopoOption = 0;
    std::string fwUrl;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u8("FWOption", p.fwOption);
        f.optionAndText("length", "FWTopoOption", "FWURL", p.fwTopoOption, p.fwUrl, kMaxUrl);
    }
};

// Items of the second form of a firmware order.
enum FwItem : uint8_t { kFwOption = 0, kFwTopoOption = 1, kFwUrl = 2, kFwFileName = 3 };

// A firmware order with a file name, as items (FwItem).
//   0 itemnum (1), 1 items
struct FwCtrl2Req {
    std::vector<Item> items;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.list("itemnum", p.items, kMaxItems,
               [](auto& each, auto& item) { Item::describe(each, item, kMaxUrl); });
    }
};

// A command as a line of text.
//   0 CommandDatacount (2), 2 CommandURLcount (2), 4 CommandURL (CommandURLcount)
struct SendCommandReq {
    uint16_t commandDataCount = 0;
    std::string commandUrl;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u16("CommandDatacount", p.commandDataCount);
        f.text("CommandURLcount", "CommandURL", p.commandUrl, kMaxCommand);
    }
};

// The names of the sender's interfaces.
//   0 almac (6), 6 intfnum (1), 7 entries: intfmac (6), namelen (2), name (namelen)
struct IntfNameResp {
    struct Entry {
        MacAddr mac;
        std::string name;
    };
    MacAddr almac;
    std::vector<Entry> intfs;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.list("intfnum", p.intfs, kMaxIntfEntries, [](auto& each, auto& intf) {
            each.mac("intfmac", intf.mac);
            each.text("namelen", "name", intf.name, 15);
        });
    }
};

// The location of the sender's log file.
//   0 almac (6), 6 Filenamecount (2), 8 Filename, n FTPURLcount (2), n+2 FTPURL
struct LogFileResp {
    MacAddr almac;
    std::string fileName;
    std::string ftpUrl;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.text("Filenamecount", "Filename", p.fileName, kMaxLogFileName);
        f.text("FTPURLcount", "FTPURL", p.ftpUrl, kMaxUrl);
    }
};

// A message of the security exchange.
//   0 almac (6), 6 length (2), 8 inner type (1): 1 first message, 2 second; 9 data (length)
struct SecurityCtrlMsg {
    MacAddr almac;
    uint8_t innerType = 0;
    std::vector<uint8_t> data;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.data("length", "data", p.data, kMaxSecurityData, [&] { f.u8("type", p.innerType); });
    }
};

// Announces the sender on the port by which it leaves.
//   0 almac (6), 6 intfmac (6)
struct VendDisc {
    MacAddr alMac;
    MacAddr intfMac;  // ignored by the encoder, which takes that of the port

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.alMac);
        f.portMac("intfmac", p.intfMac);
    }
};

// Orders a network setting.
//   0 almac (6), 6 NetworkOption (2), 8 NetworkCommandCount (2), 10 NetworkCommand
struct NetworkCtrlReq {
    MacAddr almac;
    uint16_t networkOption = 0;
    std::string command;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.u16("NetworkOption", p.networkOption);
        f.text("NetworkCommandCount", "NetworkCommand", p.command, kMaxNetworkCommand);
    }
};

// The result of such an order.
//   0 NetworkOption (2), 2 retCode (1)
struct NetworkCtrlResp {
    uint16_t networkOption = 0;
    uint8_t retCode = 0;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u16("NetworkOption", p.networkOption);
        f.u8("retCode", p.retCode);
    }
};

// Orders a Wi-Fi country code.
//   0 almac (6), 6 length (2), 8 WIFICountryCode (length)
struct CountryCodeReq {
    MacAddr almac;
    std::string countryCode;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.text("WIFICountryCodeCount", "WIFICountryCode", p.countryCode, kMaxCountryCode);
    }
};

// Asks a device to request a beacon report from one of its stations, or to return the last report
// of the station.
//   0 almac (6), 6 staMac (6), 12 bssid (6), 18 operatingClass (1), 19 channel (1), 20 mode (1),
//   21 duration (2, time units), 23 ssidlen (2), 25 ssid (ssidlen)
struct BcnRptReqPayload {
    MacAddr almac;
    MacAddr staMac;
    MacAddr bssid;
    uint8_t operatingClass = 0;
    uint8_t channel = 0;
    uint8_t mode = 0;
    uint16_t duration = 0;
    std::string ssid;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.mac("staMac", p.staMac);
        f.mac("bssid", p.bssid);
        f.u8("operatingClass", p.operatingClass);
        f.u8("channel", p.channel);
        f.u8("mode", p.mode);
        f.u16("duration", p.duration);
        f.text("ssidlen", "ssid", p.ssid, kMaxSsid);
    }
};

// The answer to both requests.
//   0 kind (1): 0 a report was requested from the station, 1 its last report; 1 retCode (1),
//   2 staMac (6), 8 reportlen (2), 10 report (reportlen)
struct BcnRptResp {
    uint8_t kind = 0;
    uint8_t retCode = 0;
    MacAddr staMac;
    std::vector<uint8_t> report;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u8("kind", p.kind);
        f.u8("retCode", p.retCode);
        f.mac("staMac", p.staMac);
        f.data("reportlen", "report", p.report, kMaxBcnRpt, [] {});
    }
};

// Asks a device to move one of its stations to another BSS.
//   0 almac (6), 6 staMac (6), 12 bssid (6), 18 operatingClass (1), 19 channel (1),
//   20 disassocImminent (1), 21 disassocTimer (2, beacon intervals)
struct BtmReqPayload {
    MacAddr almac;
    MacAddr staMac;
    MacAddr bssid;
    uint8_t operatingClass = 0;
    uint8_t channel = 0;
    uint8_t disassocImminent = 0;
    uint16_t disassocTimer = 0;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.mac("staMac", p.staMac);
        f.mac("bssid", p.bssid);
        f.u8("operatingClass", p.operatingClass);
        f.u8("channel", p.channel);
        f.u8("disassocImminent", p.disassocImminent);
        f.u16("disassocTimer", p.disassocTimer);
    }
};

enum BlacklistOption : uint8_t { kBlacklistAdd = 0, kBlacklistRemove = 1 };

// Adds a station to the blacklist or removes it.
//   0 almac (6), 6 option (1): BlacklistOption; 7 staMac (6)
struct BlacklistReq {
    MacAddr almac;
    uint8_t option = 0;
    MacAddr staMac;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.mac("almac", p.almac);
        f.u8("option", p.option);
        f.mac("staMac", p.staMac);
    }
};

// The result of such a request, with its option.
//   0 option (1), 1 retCode (1)
struct BlacklistResp {
    uint8_t option = 0;
    uint8_t retCode = 0;

    template <class Fields, class Self>
    static void describe(Fields& f, Self& p) {
        f.u8("option", p.option);
        f.u8("retCode", p.retCode);
    }
};

using VendPayloads =
    std::variant<std::monostate, AlMacPayload, RetCodePayload, OptionPayload, TextPayload, ConfResp,
                 IntfPwrStateResp, IntfPwrCtrlReq, IntfPwrCtrlResp, WifiStateResp, SpeedTestCtrlReq,
                 FwCtrlReq, FwCtrl2Req, SendCommandReq, IntfNameResp, LogFileResp, SecurityCtrlMsg,
                 VendDisc, NetworkCtrlReq, NetworkCtrlResp, CountryCodeReq, BcnRptReqPayload,
                 BcnRptResp, BtmReqPayload, BlacklistReq, BlacklistResp>;

// The payload of a vendor message: one of the layouts, or std::monostate before one is stored. Its
// special members are not inlined, because every sender uses them.
struct VendPayload : VendPayloads {
    using VendPayloads::variant;
    VendPayload();
    VendPayload(VendPayload&& other) noexcept;
    VendPayload& operator=(VendPayload&& other) = delete;
    ~VendPayload();
};
