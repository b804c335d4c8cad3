// The state that this device shows. Interfaces are those that have been reported to the daemon.
#include "netctrl/state.h"

#include <arpa/inet.h>
#include <linux/if_addr.h>
#include <linux/inet_diag.h>
#include <linux/rtnetlink.h>
#include <linux/sock_diag.h>
#include <netinet/tcp.h>
#include <time.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/text.h"
#include "hostapd/orders.h"
#include "hostapd/radios.h"
#include "netctrl/ethtool.h"
#include "netctrl/netlink.h"
#include "netctrl/watch.h"
#include "netctrl/wireless.h"

namespace {

using AddressMessage = NlMessage<ifaddrmsg, IFA_MAX>;

// Facts about the device rather than about the run: they survive destroyNetCtrl.
struct {
    LedState led{};
    std::optional<std::string> wifiCountryCode;
} kept;

// ---- Addresses ---------------------------------------------------------------------------------

struct Address {
    int index = 0;  // of its interface
    bool global = false;
    std::string text;
};

std::optional<Address> addressOf(nlmsghdr* message, uint8_t family) {
    const AddressMessage entry(message);
    if (!entry.ok() || entry.header().ifa_family != family) return std::nullopt;
    // Not in use: duplicate detection is running or has failed.
    if ((entry.header().ifa_flags & (IFA_F_TENTATIVE | IFA_F_DADFAILED)) != 0) return std::nullopt;
    // On a point-to-point link IFA_ADDRESS is the peer.
    const nlattr* own =
        entry.attr(IFA_LOCAL) != nullptr ? entry.attr(IFA_LOCAL) : entry.attr(IFA_ADDRESS);
    if (own == nullptr || nla_len(own) < (family == AF_INET6 ? 16 : 4)) return std::nullopt;
    char text[PLATFORM_IPV6_LEN];
    if (inet_ntop(family, nla_data(own), text, sizeof text) == nullptr) return std::nullopt;
    return Address{static_cast<int>(entry.header().ifa_index),
                   entry.header().ifa_scope < RT_SCOPE_LINK, text};
}

// All addresses of that family, link-local ones last; none if the kernel does not answer in full.
std::optional<std::vector<Address>> readAddresses(uint8_t family) {
    std::vector<Address> addresses;
    ifaddrmsg ask{};
    ask.ifa_family = family;
    auto socket = NetlinkSocket::open(NETLINK_ROUTE);
    const auto take = [&](nlmsghdr* message) {
        if (auto address = addressOf(message, family)) addresses.push_back(std::move(*address));
    };
    if (!socket || !socket->request(RTM_GETADDR, NLM_F_DUMP, bytesOf(ask), take)) {
        return std::nullopt;
    }
    std::stable_partition(addresses.begin(), addresses.end(),
                          [](const Address& address) { return address.global; });
    return addresses;
}

std::map<uint8_t, std::vector<Address>> knownAddresses;  // by family

// The same, read again only after a change; nullptr if that fails.
const std::vector<Address>* addressesOf(uint8_t family) {
    if (addressesMayHaveChanged()) knownAddresses.clear();
    const auto known = knownAddresses.find(family);
    if (known != knownAddresses.end()) return &known->second;
    auto addresses = readAddresses(family);
    return addresses ? &(knownAddresses[family] = std::move(*addresses)) : nullptr;
}

bool hasPorts(const Bridge& bridge) {
    const auto& intfs = reported().intfs;
    return std::any_of(intfs.begin(), intfs.end(),
                       [&bridge](const Intf& intf) { return intf.bridge == bridge.index; });
}

// The bridge with the AL MAC address. If there is none, because the address is configured or was
// chosen earlier, the first bridge with a participating interface. None without either.
std::optional<int> lanBridge() {
    const auto& bridges = reported().bridges;
    const auto alMac = reportedAlMac();
    auto found = std::find_if(bridges.begin(), bridges.end(),
                              [&alMac](const Bridge& bridge) { return bridge.mac == alMac; });
    if (found == bridges.end()) found = std::find_if(bridges.begin(), bridges.end(), hasPorts);
    if (found == bridges.end()) return std::nullopt;
    return found->index;
}

std::vector<int> participants() {
    std::vector<int> indexes;
    for (const Intf& intf : reported().intfs) indexes.push_back(intf.index);
    return indexes;
}

// ---- System ------------------------------------------------------------------------------------

bool isDnsmasq(const std::string& pidFile) {
    const std::string text = readFile(pidFile, 64);
    const std::string_view pid = lineOf(text, 0);
    if (pid.empty() || pid.find_first_not_of("0123456789") != pid.npos) return false;
    return lineOf(readFile("/proc/" + std::string(pid) + "/comm", 64), 0) == "dnsmasq";
}

// By its pid files: searching all processes would cost more than the rest of an idle daemon.
bool dnsmasqRuns() {
    if (const auto file = conf().value("DNSMASQ_PID_FILE"); !file.empty()) {
        return isDnsmasq(std::string(file));
    }
    if (isDnsmasq("/var/run/dnsmasq.pid")) return true;
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/var/run/dnsmasq", error), end;
         !error && entry != end; entry.increment(error)) {
        if (entry->path().extension() == ".pid" && isDnsmasq(entry->path())) return true;
    }
    return false;
}

struct Listeners {
    bool ssh = false, telnet = false;
};

// Requests only the listening sockets, because reading /proc/net/tcp takes milliseconds.
bool addListeners(uint8_t family, Listeners& listeners) {
    constexpr uint32_t kListen = 1U << TCP_LISTEN;
    inet_diag_req_v2 ask{};
    ask.sdiag_family = family;
    ask.sdiag_protocol = IPPROTO_TCP;
    ask.idiag_states = kListen;
    const auto take = [&](nlmsghdr* message) {
        if (nlmsg_valid_hdr(message, sizeof(inet_diag_msg)) == 0) return;
        const auto* found = static_cast<const inet_diag_msg*>(nlmsg_data(message));
        const uint16_t port = ntohs(found->id.idiag_sport);
        listeners.ssh = listeners.ssh || port == 22;
        listeners.telnet = listeners.telnet || port == 23;
    };
    auto socket = NetlinkSocket::open(NETLINK_SOCK_DIAG);
    return socket && socket->request(SOCK_DIAG_BY_FAMILY, NLM_F_DUMP, bytesOf(ask), take);
}

std::optional<Listeners> readListeners() {
    Listeners listeners;
    if (!addListeners(AF_INET, listeners)) return std::nullopt;
    addListeners(AF_INET6, listeners);  // fails on a kernel without IPv6
    return listeners;
}

// ---- Network -----------------------------------------------------------------------------------

enum class Medium { kEthernet, kWifi, kOther };

Medium mediumOf(const Intf& intf) {
    if (intf.isRadio()) return Medium::kWifi;
    return intf.mediaType >> 8 == 0 ? Medium::kEthernet : Medium::kOther;
}

bool isUp(const Intf& intf) {
    return intf.operStatus == PLATFORM_OPER_UP;
}

// Names may contain nearly any byte, but must not break the JSON string.
std::string jsonName(std::string name) {
    std::replace_if(
        name.begin(), name.end(),
        [](char c) { return c <= ' ' || c > '~' || c == '"' || c == '\\'; }, '?');
    return name;
}

std::string portItem(const Intf& intf) {
    std::string state = "down";
    if (isUp(intf)) {
        const auto speed = linkSpeed(intf.name);
        state = speed ? std::to_string(*speed) : "up";
    }
    return '"' + jsonName(intf.name) + ':' + state + '"';
}

// Certain only while all links that are up are of one kind: which of two carries the mesh is
// unknown here.
std::string_view onlyMediumUp() {
    bool ethernet = false, wifi = false, other = false;
    for (const Intf& intf : reported().intfs) {
        if (!isUp(intf)) continue;
        ethernet = ethernet || mediumOf(intf) == Medium::kEthernet;
        wifi = wifi || mediumOf(intf) == Medium::kWifi;
        other = other || mediumOf(intf) == Medium::kOther;
    }
    if (other || ethernet == wifi) return {};
    return ethernet ? "Ethernet" : "WiFi";
}

// Whether nl80211 does not know the access point.
bool isUnreported(const std::string& ifname) {
    const Intf* const intf = reported().byName(ifname);
    return intf == nullptr || !intf->hasStations;
}

}  // namespace

void keepLedState(std::string_view status, std::string_view brightness) {
    copyText(kept.led.status, status);
    copyText(kept.led.brightness, brightness);
}

void keepWifiCountryCode(std::string_view code) {
    kept.wifiCountryCode = code;
}

int getDeviceIP(char text[32]) {
    if (text == nullptr) return kFailure;
    const auto* addresses = addressesOf(AF_INET);
    if (addresses == nullptr) return kFailure;
    std::vector<int> candidates = participants();
    if (const auto bridge = lanBridge()) candidates.insert(candidates.begin(), *bridge);
    for (const int index : candidates) {
        for (const Address& address : *addresses) {
            if (address.index == index) return answerText(text, 32, address.text);
        }
    }
    return answerText(text, 32, {});
}

int getIPv6Info(IPv6Info* info) {
    if (info == nullptr) return kFailure;
    const auto* addresses = addressesOf(AF_INET6);
    if (addresses == nullptr) return kFailure;
    const auto bridge = lanBridge();
    const std::vector<int> bearers = bridge ? std::vector<int>{*bridge} : participants();
    *info = {};
    for (const Address& address : *addresses) {
        if (std::find(bearers.begin(), bearers.end(), address.index) == bearers.end()) continue;
        if (info->num == PLATFORM_IPV6_MAX) break;
        copyText(info->address[info->num++], address.text);
    }
    return kOk;
}

int getDeviceUptime(char text[32]) {
    timespec sinceBoot{};
    if (clock_gettime(CLOCK_BOOTTIME, &sinceBoot) != 0) return kFailure;
    return answerText(text, 32, std::to_string(sinceBoot.tv_sec));
}

int getLEDState(LedState* state) {
    if (state == nullptr) return kFailure;
    *state = kept.led;
    return kOk;
}

int getSecurityState(SecurityState* state) {
    if (state == nullptr) return kFailure;
    const auto listeners = readListeners();
    if (!listeners) return kFailure;
    copyText(state->ssh, listeners->ssh ? "on" : "off");
    copyText(state->telnet, listeners->telnet ? "on" : "off");
    return kOk;
}

int getConfigureState(uint8_t* configure) {
    const std::string_view value = conf().value("CONFIGURED");
    if (configure == nullptr || (value != "yes" && value != "no")) return kFailure;
    *configure = value == "yes" ? 1 : 2;
    return kOk;
}

int getDaisychainOption(char text[32]) {
    return answerText(text, 32, conf().value("DAISYCHAIN"));
}

int getNetworkState(NetworkState* state) {
    if (state == nullptr) return kFailure;
    const auto& intfs = reported().intfs;
    const auto ports = std::count_if(intfs.begin(), intfs.end(),
                                     [](const Intf& intf) { return intf.bridge != 0; });
    *state = {dnsmasqRuns() ? 1 : 0, static_cast<int32_t>(ports)};
    return kOk;
}

int getEthernetPortState(char text[128]) {
    std::string list;
    for (const Intf& intf : reported().intfs) {
        if (mediumOf(intf) != Medium::kEthernet) continue;
        const std::string item = (list.empty() ? "" : ",") + portItem(intf);
        // A cut item would be an open JSON string.
        if (list.size() + item.size() >= 128) break;
        list += item;
    }
    return answerText(text, 128, list);
}

int getBackhaulType(char text[32]) {
    const std::string_view given = conf().value("BACKHAUL");
    return answerText(text, 32, given.empty() ? onlyMediumUp() : given);
}

int getCountryCode(char text[16]) {
    return answerText(text, 16, conf().value("COUNTRY_CODE"));
}

int getWIFICountryCode(char text[16]) {
    if (kept.wifiCountryCode) return answerText(text, 16, *kept.wifiCountryCode);
    std::string code = orderedCountry();
    if (code.empty()) code = conf().value("WIFI_COUNTRY_CODE");
    if (code.empty() && doesHostapd("wifi-country-code")) {
        for (const RadioReport& radio : hostapdRadios()) code = radio.country;
    }
    return answerText(text, 16, code);
}

int getWIFIChannelInfo(WifiChannels* channels) {
    if (channels == nullptr) return kFailure;
    std::vector<uint32_t> frequencies;
    for (const Intf& intf : reported().intfs) frequencies.push_back(intf.frequency);
    if (std::ranges::any_of(listBss(), isUnreported, &HostapdBss::ifname)) {
        for (const RadioReport& radio : hostapdRadios()) {
            if (radio.isOn && isUnreported(radio.ifname)) frequencies.push_back(radio.frequency);
        }
    }
    *channels = channelsOf(std::move(frequencies));
    return kOk;
}
