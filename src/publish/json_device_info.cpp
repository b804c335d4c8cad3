#include "publish/json_device_info.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "publish/labels.h"

namespace {

std::string_view orUnknown(std::string_view text) {
    return text.empty() ? "Unknown" : text;
}

// The versions of components are stored as texts and written as numbers, 0 for any other text.
int64_t versionNumber(const Text<32>& version) {
    return std::clamp<int64_t>(strtol(version.c_str(), nullptr, 10), INT_MIN, INT_MAX);
}

void writeIPv6(JsonWriter& out, const std::vector<std::string>& addresses) {
    out.key("IPv6IP");
    out.append("[");
    bool first = true;
    for (const auto& address : addresses) {
        // The further addresses are aligned below the first.
        if (!first) out.append(",\n").append(out.tabs()).append(std::string(11, ' '));
        out.appendQuoted(address);
        first = false;
    }
    out.append("]");
}

void writeAppVersion(JsonWriter& out, const DeviceInfo& info) {
    constexpr size_t kColumn = 14;
    out.beginObject("AppVersion");
    out.text("Version", info.appVersion);
    out.number("L2DeviceCtrl", versionNumber(info.l2DeviveCtrlVersion), kColumn);
    out.number("WiFiAutoCfg", versionNumber(info.wifiAutoCfgVersion), kColumn);
    out.number("WiFiOnOff", versionNumber(info.wifiOnOffVersion), kColumn);
    out.number("FwUpgrade", versionNumber(info.fwUpgradeVersion), kColumn);
    out.number("LEDOnOff", versionNumber(info.ledOnOffVersion), kColumn);
    out.number("vm1905Version", versionNumber(info.vm1905Version), kColumn);
    out.end();
}

}  // namespace

void writeReleaseAndLed(JsonWriter& out, std::string_view release, std::string_view newerRelease,
                        const DeviceInfo& info) {
    out.text("ReleaseVersion", newerRelease.empty() ? release : newerRelease);
    out.text("LEDstatus", info.ledStatus);
    out.text("LEDBrightness", info.ledBrightness);
}

void writeSettings(JsonWriter& out, std::string_view buildNumber, const DeviceInfo& info) {
    out.quotedNumber("NetworkState_dnsmasq", info.netStateDnsmasq);
    out.quotedNumber("NetworkState_IntfInBridge", info.netStateIntfInBridge);
    out.text("Configure", configureLabel(info.configure));
    out.text("BuildNumber", buildNumber);
    out.text("SSHState", orUnknown(info.sshState));
    out.text("TelnetState", orUnknown(info.telnetState));
    out.text("CountryCode", orUnknown(info.countryCode));
    out.text("WIFICountryCode", orUnknown(info.wifiCountryCode));
}

void writeChannels(JsonWriter& out, const DeviceInfo& info) {
    out.text("WIFI24GChannel", info.wifi24GChannel);
    out.text("WIFI5GChannel", info.wifi5GChannel);
    out.text("WIFI5G2Channel", info.wifi5G2Channel);
}

void writeAddressesAndVersions(JsonWriter& out, const DeviceInfo& info) {
    writeIPv6(out, info.ipv6);
    out.key("EthernetPortState");
    out.append("[").append(info.ethernetPortState).append("]");
    out.text("Backhaultype", info.backhaulType);
    writeAppVersion(out, info);
}
