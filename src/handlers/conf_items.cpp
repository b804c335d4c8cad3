#include "handlers/conf_items.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "base/log.h"
#include "db/wifi_bands.h"
#include "platform/autoconfig.h"
#include "platform/state.h"
#include "wire/tlv.h"

namespace {

constexpr uint8_t kFirstIPv6Item = 101;
constexpr size_t kIPv6Items = 8;

// The TLV must fit into one frame, header included.
constexpr size_t kMaxPayload = kMaxSentTlvLength - 15;
constexpr size_t kConfRespHead = 7;
constexpr size_t kItemHead = 3;

std::string byte(uint8_t value) {
    return std::string(1, static_cast<char>(value));
}

void storeByte(uint8_t& field, std::string_view value) {
    if (value.size() == 1) field = static_cast<uint8_t>(value[0]);
}

// The text that a platform function returns, empty if it fails.
std::string platformText(int (*get)(char*)) {
    char text[32] = {};
    return get(text) == 0 ? std::string(fieldText(text)) : std::string();
}

// A trailing line feed of the version file is not sent.
std::string firmwareVersion(const AlTable& al) {
    std::string text(al.firmwareVersion.view());
    if (text.find('\n') != std::string::npos) text.pop_back();
    return text;
}

std::string maxChangeLogEntries(const AlTable& al) {
    const uint16_t n = al.topol.maxChangeLogEntries;
    return byte(static_cast<uint8_t>(n >> 8)) + byte(static_cast<uint8_t>(n));
}

void storeMaxChangeLogEntries(Ieee1905DevTable& dev, std::string_view value) {
    if (value.size() != 2) return;
    dev.maxChangeLogEntries =
        static_cast<uint16_t>(static_cast<uint8_t>(value[0]) << 8 | static_cast<uint8_t>(value[1]));
}

std::string networkState(const AlTable& al) {
    return std::to_string(al.info.netStateDnsmasq) + "," +
           std::to_string(al.info.netStateIntfInBridge);
}

void storeNetworkState(Ieee1905DevTable& dev, std::string_view value) {
    dev.info.netStateDnsmasq = dev.info.netStateIntfInBridge = 0;
    (void)sscanf(std::string(value).c_str(), "%d,%d", &dev.info.netStateDnsmasq,
                 &dev.info.netStateIntfInBridge);
}

std::string configure(const AlTable& al) {
    return al.info.configure != 0 ? std::to_string(al.info.configure) : "";
}

void storeConfigure(Ieee1905DevTable& dev, std::string_view value) {
    dev.info.configure = static_cast<uint8_t>(atoi(std::string(value).c_str()));
}

// "search,response" of the four networks, separated by semicolons.
std::string wpsBands(const AlTable& /*al*/) {
    std::string text;
    for (const uint8_t band : kWifiBands) {
        WpsBandConfig config{};
        (void)getWPSConfByBand(band, &config);
        text += (text.empty() ? "" : ";") + std::to_string(config.sendSearch) + "," +
                std::to_string(config.sendResponse);
    }
    return text;
}

void storeWpsBands(Ieee1905DevTable& dev, std::string_view value) {
    dev.apAutoConf.counters = {};
    auto& c = dev.apAutoConf.counters;
    (void)sscanf(std::string(value).c_str(), "%hhu,%hhu;%hhu,%hhu;%hhu,%hhu;%hhu,%hhu", &c[0][0],
                 &c[0][1], &c[1][0], &c[1][1], &c[2][0], &c[2][1], &c[3][0], &c[3][1]);
}

// The list is copied into the data model unchanged, so a value that is no list must not be stored.
void storePortState(Ieee1905DevTable& dev, std::string_view value) {
    const decltype(dev.info.ethernetPortState) cut(value);
    dev.info.ethernetPortState = isJsonItems(cut) ? cut.view() : std::string_view();
}

// Not inlined: the rows of the table below would each get a copy.
[[gnu::noinline]] std::string copyOf(const char* text) {
    return text;
}

template <size_t N>
[[gnu::noinline]] void storeText(Text<N>& field, std::string_view value) {
    storePlain(field, value);
}

// A text member of the AlTable.
template <auto Own, auto Remote>
constexpr ConfItem alText(uint8_t type, const char* name) {
    return {type, name, "text", [](const AlTable& al) { return copyOf((al.*Own).c_str()); },
            [](Ieee1905DevTable& dev, std::string_view value) { storeText(dev.*Remote, value); }};
}

// A text member of its DeviceInfo.
template <auto Member>
constexpr ConfItem infoText(uint8_t type, const char* name) {
    return {
        type, name, "text", [](const AlTable& al) { return copyOf((al.info.*Member).c_str()); },
        [](Ieee1905DevTable& dev, std::string_view value) { storeText(dev.info.*Member, value); }};
}

// A text that is read from the platform each time.
template <auto Remote, auto Get>
constexpr ConfItem askedText(uint8_t type, const char* name) {
    return {type, name, "text", [](const AlTable&) { return platformText(Get); },
            [](Ieee1905DevTable& dev, std::string_view value) { storeText(dev.*Remote, value); }};
}

// The time at which a network was last configured.
template <size_t Network>
constexpr ConfItem timeText(uint8_t type, const char* name) {
    return {type, name, "text",
            [](const AlTable& al) { return copyOf(al.apAutoConfTimes[Network].c_str()); },
            [](Ieee1905DevTable& dev, std::string_view value) {
                storeText(dev.apAutoConf.times[Network], value);
            }};
}

using Info = DeviceInfo;

constexpr ConfItem kItems[] = {
    {0, "EnableReboot", "1", [](const AlTable& al) { return byte(al.enableRebootFromNbr); },
     [](Ieee1905DevTable& dev, std::string_view v) { storeByte(dev.enableReboot, v); }},
    {1, "EnableInterfacePowerControl", "1",
     [](const AlTable& al) { return byte(al.enableIntfPwrCtrlFromNbr); },
     [](Ieee1905DevTable& dev, std::string_view v) { storeByte(dev.enableIntfPwrCtrl, v); }},
    {2, "FirmwareVersion", "text", firmwareVersion,
     [](Ieee1905DevTable& dev, std::string_view v) { storeText(dev.firmwareVersion, v); }},
    {3, "MaxChangeLogEntries", "2", maxChangeLogEntries, storeMaxChangeLogEntries},
    {4, "DeviceType", "1", [](const AlTable& al) { return byte(al.role()); },
     [](Ieee1905DevTable& dev, std::string_view v) { storeByte(dev.role, v); }},
    {9, "FirmwareState", "1", [](const AlTable& al) { return byte(al.fwUpgradeStatus); },
     [](Ieee1905DevTable& dev, std::string_view v) { storeByte(dev.firmwareState, v); }},
    alText<&AlTable::hostname, &VendItems::hostname>(7, "Hostname"),
    askedText<&VendItems::deviceIP, getDeviceIP>(12, "DeviceIP"),
    alText<&AlTable::lanMac, &VendItems::deviceLanMac>(11, "DeviceLANMac"),
    alText<&AlTable::deviceMode, &VendItems::deviceMode>(8, "DeviceMode"),
    alText<&AlTable::releaseVersion, &VendItems::releaseVersion>(5, "ReleaseVersion"),
    alText<&AlTable::releaseVersionGit, &VendItems::releaseVersionGit>(6, "ReleaseVersion (newer)"),
    alText<&AlTable::buildNumber, &VendItems::buildNumber>(10, "BuildNumber"),
    infoText<&Info::ledStatus>(13, "LEDstatus"),
    infoText<&Info::ledBrightness>(14, "LEDBrightness"),
    askedText<&VendItems::deviceUptime, getDeviceUptime>(15, "DeviceUptime"),
    infoText<&Info::daisychainOption>(16, "DaisychainOption"),
    {17, "NetworkState_dnsmasq,NetworkState_IntfInBridge", "text", networkState, storeNetworkState},
    {18, "Configure", "text", configure, storeConfigure},
    infoText<&Info::sshState>(19, "SSHState"),
    infoText<&Info::telnetState>(20, "TelnetState"),
    infoText<&Info::countryCode>(21, "CountryCode"),
    infoText<&Info::wifiCountryCode>(22, "WIFICountryCode"),
    infoText<&Info::wifi24GChannel>(23, "WIFI24GChannel"),
    infoText<&Info::wifi5GChannel>(24, "WIFI5GChannel"),
    infoText<&Info::wifi5G2Channel>(25, "WIFI5G2Channel"),
    {26, "EthernetPortState", "text",
     [](const AlTable& al) { return std::string(al.info.ethernetPortState.view()); },
     storePortState},
    infoText<&Info::backhaulType>(27, "Backhaultype"),
    infoText<&Info::appVersion>(28, "Version"),
    infoText<&Info::l2DeviveCtrlVersion>(29, "L2DeviceCtrl"),
    infoText<&Info::wifiAutoCfgVersion>(30, "WiFiAutoCfg"),
    infoText<&Info::wifiOnOffVersion>(31, "WiFiOnOff"),
    infoText<&Info::fwUpgradeVersion>(32, "FwUpgrade"),
    infoText<&Info::ledOnOffVersion>(33, "LEDOnOff"),
    infoText<&Info::dsiVersion>(34, "DSI"),
    infoText<&Info::vm1905Version>(35, "vm1905Version"),
    {36, "AP-autoconfig_Main24G, _Main5G, _Guest24G, _Guest5G", "text", wpsBands, storeWpsBands},
    timeText<0>(37, "Main24G_time"),
    timeText<1>(38, "Main5G_time"),
    timeText<2>(39, "Guest24G_time"),
    timeText<3>(40, "Guest5G_time"),
    timeText<4>(41, "Visitor24G_time"),
    timeText<5>(43, "Visitor5G_time"),
    timeText<6>(44, "Backhaul24GAP_time"),
    timeText<7>(45, "Backhaul24GST_time"),
    timeText<8>(46, "Backhaul5GAP_time"),
    timeText<9>(47, "Backhaul5GST_time"),
    timeText<10>(48, "Backhaul5G2AP_time"),
    timeText<11>(49, "Backhaul5G2ST_time"),
};

constexpr bool isInUse(uint8_t type) {
    return type <= 41 || (type >= 43 && type <= 51);
}
static_assert(std::ranges::all_of(kItems, [](const auto& item) { return isInUse(item.type); }));

bool isText(const ConfItem& item) {
    return item.width[0] == 't';
}

const Item* findItem(const std::vector<Item>& items, uint8_t type) {
    const auto it =
        std::ranges::find_if(items, [&](const Item& item) { return item.type == type; });
    return it != items.end() ? &*it : nullptr;
}

std::string_view textOf(const Item& item) {
    return {reinterpret_cast<const char*>(item.value.data()), item.value.size()};
}

}  // namespace

std::span<const ConfItem> confItems() {
    return kItems;
}

std::vector<Item> readConfItems(const AlTable& al) {
    std::vector<Item> items;
    size_t room = kMaxPayload - kConfRespHead;
    for (const auto& item : kItems) {
        const std::string value = item.read(al);
        // Meant: the firmware version is sent even if it is empty.
        if (isText(item) && item.type != 2 && value.empty()) continue;
        if (value.size() > kMaxItemValue || kItemHead + value.size() > room) {
            LOG(2, "no room for configuration item %d\n", item.type);
            continue;
        }
        room -= kItemHead + value.size();
        items.push_back({item.type, {value.begin(), value.end()}});
    }
    return items;
}

void storeConfItems(Ieee1905DevTable& dev, const std::vector<Item>& items) {
    for (const auto& known : kItems) {
        const Item* item = findItem(items, known.type);
        if (item != nullptr) {
            known.store(dev, textOf(*item));
        } else if (isText(known)) {
            known.store(dev, {});
        }
    }
}

std::vector<Item> readIPv6Items() {
    std::vector<Item> items;
    IPv6Info info{};
    if (getIPv6Info(&info) != 0) return items;
    if (info.num > kIPv6Items) LOG(2, "DeviceIPv6Info Number too much(%d)\n", info.num);
    for (size_t i = 0; i < std::min<size_t>(info.num, kIPv6Items); i++) {
        const std::string_view address = fieldText(info.address[i]);
        items.push_back(
            {static_cast<uint8_t>(kFirstIPv6Item + i), {address.begin(), address.end()}});
    }
    return items;
}

void storeIPv6Items(Ieee1905DevTable& dev, const std::vector<Item>& items) {
    dev.info.ipv6.clear();
    for (uint8_t i = 0; i < kIPv6Items; i++) {
        const Item* item = findItem(items, static_cast<uint8_t>(kFirstIPv6Item + i));
        if (item != nullptr) dev.info.ipv6.push_back(plainText(textOf(*item)));
    }
}
