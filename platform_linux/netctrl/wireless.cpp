#include "netctrl/wireless.h"

#include <linux/genetlink.h>
#include <linux/nl80211.h>

#include <algorithm>
#include <string>
#include <vector>

#include "common/conf.h"
#include "common/text.h"

namespace {

enum : uint32_t { k80211n24 = 0x0103, k80211ac = 0x0105, k80211ad = 0x0106 };

// A generic netlink request with one attribute.
std::vector<uint8_t> genlRequest(uint8_t command, int attribute, std::span<const uint8_t> value) {
    genlmsghdr header{};
    header.cmd = command;
    header.version = 1;
    nlattr attr{};
    attr.nla_type = static_cast<uint16_t>(attribute);
    attr.nla_len = static_cast<uint16_t>(NLA_HDRLEN + value.size());
    std::vector<uint8_t> bytes(sizeof header + static_cast<size_t>(NLA_ALIGN(attr.nla_len)));
    memcpy(bytes.data(), &header, sizeof header);
    memcpy(bytes.data() + sizeof header, &attr, sizeof attr);
    memcpy(bytes.data() + sizeof header + NLA_HDRLEN, value.data(), value.size());
    return bytes;
}

// The IEEE 1905.1 code of the role, in the upper four bits.
uint8_t roleOf(uint32_t type) {
    switch (type) {
        case NL80211_IFTYPE_STATION:
            return 0x40;
        case NL80211_IFTYPE_P2P_CLIENT:
            return 0x80;
        case NL80211_IFTYPE_P2P_GO:
            return 0x90;
        default:
            return 0x00;
    }
}

uint8_t bandwidthOf(uint32_t width) {
    switch (width) {
        case NL80211_CHAN_WIDTH_40:
            return 1;
        case NL80211_CHAN_WIDTH_80:
            return 2;
        case NL80211_CHAN_WIDTH_160:
            return 3;
        case NL80211_CHAN_WIDTH_80P80:
            return 4;
        default:
            return 0;
    }
}

uint8_t channelIndexOf(uint32_t frequency) {
    if (frequency < 2407) return 0;
    // Channel 14 does not follow the spacing of its band.
    if (frequency == 2484) return 14;
    return static_cast<uint8_t>((frequency - (frequency < 5000 ? 2407 : 5000)) / 5);
}

bool isMeshPoint(uint32_t type) {
    return type == NL80211_IFTYPE_MESH_POINT;
}

bool hasStations(uint32_t type) {
    return type == NL80211_IFTYPE_AP || type == NL80211_IFTYPE_AP_VLAN ||
           type == NL80211_IFTYPE_P2P_GO || isMeshPoint(type);
}

// In units of 100 kb/s, as in the kernel; 0 if absent.
uint32_t bitRateOf(nlattr* nested) {
    std::array<nlattr*, NL80211_RATE_INFO_MAX + 1> attrs{};
    if (nested == nullptr ||
        nla_parse_nested(attrs.data(), NL80211_RATE_INFO_MAX, nested, nullptr) < 0) {
        return 0;
    }
    if (const nlattr* wide = attrs[NL80211_RATE_INFO_BITRATE32]; wide && nla_len(wide) >= 4) {
        return nla_get_u32(wide);
    }
    const nlattr* narrow = attrs[NL80211_RATE_INFO_BITRATE];
    return narrow != nullptr && nla_len(narrow) >= 2 ? nla_get_u16(narrow) : 0;
}

}  // namespace

uint32_t mediaTypeOf(uint32_t frequency) {
    if (frequency >= 57000) return k80211ad;
    return frequency >= 4900 ? k80211ac : k80211n24;
}

std::string rateText(uint32_t rate) {
    if (rate == 0) return {};
    return std::to_string(rate / 10) + "." + std::to_string(rate % 10) + " Mb/s";
}

void setStrength(int dbm, WifiStation& station) {
    constexpr int kNoiseFloor = -95;  // dBm
    station.rssi = static_cast<uint16_t>(std::max(dbm - kNoiseFloor, 0));
    station.signalLevel = static_cast<uint16_t>(std::clamp(2 * (dbm + 100), 0, 100));
}

std::optional<WifiInfo> parseWifiInterface(nlmsghdr* message) {
    const NlMessage<genlmsghdr, NL80211_ATTR_MAX> answer(message);
    if (!answer.ok() || !answer.u32(NL80211_ATTR_IFINDEX)) return std::nullopt;
    const uint32_t frequency = answer.u32(NL80211_ATTR_WIPHY_FREQ).value_or(0);
    const uint32_t type = answer.u32(NL80211_ATTR_IFTYPE).value_or(0);

    WifiInfo wifi{frequency != 0, mediaTypeOf(frequency), {},
                  frequency,      hasStations(type),      isMeshPoint(type)};
    // The address of an access point is the BSSID. For stations the BSSID stays zero, since it
    // would take a scan result to find it.
    const std::optional<MacAddr> mac = answer.mac(NL80211_ATTR_MAC);
    if (mac && (type == NL80211_IFTYPE_AP || type == NL80211_IFTYPE_P2P_GO)) {
        mac->copyTo(wifi.info.data());
    }
    wifi.info[6] = roleOf(type);
    wifi.info[7] = bandwidthOf(answer.u32(NL80211_ATTR_CHANNEL_WIDTH).value_or(0));
    wifi.info[8] = channelIndexOf(answer.u32(NL80211_ATTR_CENTER_FREQ1).value_or(frequency));
    wifi.info[9] = channelIndexOf(answer.u32(NL80211_ATTR_CENTER_FREQ2).value_or(0));
    return wifi;
}

std::optional<WifiStation> parseWifiStation(nlmsghdr* message) {
    const NlMessage<genlmsghdr, NL80211_ATTR_MAX> answer(message);
    if (!answer.ok()) return std::nullopt;
    const auto mac = answer.mac(NL80211_ATTR_MAC);
    nlattr* nested = answer.attr(NL80211_ATTR_STA_INFO);
    std::array<nlattr*, NL80211_STA_INFO_MAX + 1> info{};
    if (!mac || nested == nullptr ||
        nla_parse_nested(info.data(), NL80211_STA_INFO_MAX, nested, nullptr) < 0) {
        return std::nullopt;
    }
    const uint32_t tx = bitRateOf(info[NL80211_STA_INFO_TX_BITRATE]);
    WifiStation station{};
    mac->copyTo(station.mac);
    station.rate = static_cast<uint16_t>(std::min<uint32_t>(tx / 10, 0xFFFF));
    nlattr* average = info[NL80211_STA_INFO_SIGNAL_AVG];
    nlattr* signal = average != nullptr ? average : info[NL80211_STA_INFO_SIGNAL];
    if (signal != nullptr && nla_len(signal) >= 1) {
        const int byte = nla_get_u8(signal);
        setStrength(byte < 128 ? byte : byte - 256, station);
    }
    copyText(station.tx, rateText(tx));
    copyText(station.rx, rateText(bitRateOf(info[NL80211_STA_INFO_RX_BITRATE])));
    return station;
}

std::string connTypeOf(const std::string& ifname, uint32_t frequency, bool meshPoint) {
    const std::string_view given = conf().value("WIFI_ROLE." + ifname);
    if (!given.empty()) return std::string(given);
    const char* band = "2G";
    if (frequency >= 4900) band = "5G";
    if (frequency >= 5945) band = "6G";
    if (frequency >= 57000) band = "60G";
    return std::string(meshPoint ? "Mesh_" : "Main_") + band;
}

WifiChannels channelsOf(std::vector<uint32_t> frequencies) {
    std::sort(frequencies.begin(), frequencies.end());
    WifiChannels channels{};
    for (const uint32_t frequency : frequencies) {
        const bool is24 = frequency >= 2412 && frequency <= 2484;
        if (!is24 && (frequency < 5150 || frequency > 5895)) continue;
        const std::string number = std::to_string(channelIndexOf(frequency));
        if (is24) {
            if (channels.band24[0] == '\0') {
                copyText(channels.band24, number);
            }
        } else if (channels.band5[0] == '\0') {
            copyText(channels.band5, number);
        } else if (number != channels.band5) {
            copyText(channels.band5High, number);
        }
    }
    return channels;
}

Nl80211::Nl80211(std::chrono::milliseconds limit) : limit_(limit) {
    static constexpr char kName[] = "nl80211";
    const auto bytes = genlRequest(CTRL_CMD_GETFAMILY, CTRL_ATTR_FAMILY_NAME,
                                   {reinterpret_cast<const uint8_t*>(kName), sizeof kName});
    request(GENL_ID_CTRL, 0, bytes, [this](nlmsghdr* message) {
        const NlMessage<genlmsghdr, CTRL_ATTR_MAX> answer(message);
        const nlattr* id = answer.ok() ? answer.attr(CTRL_ATTR_FAMILY_ID) : nullptr;
        if (id != nullptr && nla_len(id) >= 2) family_ = nla_get_u16(id);
    });
}

void Nl80211::request(int type, int flags, std::span<const uint8_t> payload,
                      const NetlinkSocket::OnMessage& take) {
    if (!socket_) socket_ = NetlinkSocket::open(NETLINK_GENERIC, limit_);
    if (socket_ && !socket_->request(type, flags, payload, take)) socket_.reset();
}

std::optional<WifiInfo> Nl80211::query(int ifindex) {
    if (!family_) return std::nullopt;
    const uint32_t index = static_cast<uint32_t>(ifindex);
    std::optional<WifiInfo> wifi;
    request(*family_, 0,
            genlRequest(NL80211_CMD_GET_INTERFACE, NL80211_ATTR_IFINDEX, bytesOf(index)),
            [&](nlmsghdr* message) { wifi = parseWifiInterface(message); });
    return wifi;
}

std::vector<WifiStation> Nl80211::stations(int ifindex) {
    std::vector<WifiStation> stations;
    if (!family_) return stations;
    const uint32_t index = static_cast<uint32_t>(ifindex);
    request(*family_, NLM_F_DUMP,
            genlRequest(NL80211_CMD_GET_STATION, NL80211_ATTR_IFINDEX, bytesOf(index)),
            [&](nlmsghdr* message) {
                if (const auto station = parseWifiStation(message)) stations.push_back(*station);
            });
    return stations;
}
