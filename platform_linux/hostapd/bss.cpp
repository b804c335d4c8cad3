#include "hostapd/bss.h"

#include <cstdio>

#include "common/secret.h"
#include "common/text.h"

namespace {

constexpr auto kRestartLimit = HostapdControl::kRestartLimit;

struct Security {
    std::string_view keyManagement, protection;
};

Security securityOf(const WifiNetwork& network) {
    if ((network.auth & kAuthSae) == 0) return {"WPA-PSK", "0"};
    return network.auth == kAuthSae ? Security{"SAE", "2"} : Security{"WPA-PSK SAE", "1"};
}

bool isOpen(const WifiNetwork& network) {
    return network.auth == kAuthOpen;
}

// 64 hexadecimal digits instead of a pass phrase.
bool isPsk(const WifiNetwork& network) {
    return network.key.view().size() == 64;
}

// hostapd takes such a part of an SAE password for an option.
bool hasOption(std::string_view key) {
    for (const std::string_view option : {"|mac=", "|vlanid=", "|pk=", "|id="}) {
        if (key.find(option) != key.npos) return true;
    }
    return false;
}

bool setKey(HostapdControl& control, const WifiNetwork& network) {
    const std::string_view key = network.key.text();
    if (!control.set(isPsk(network) ? "wpa_psk" : "wpa_passphrase", key)) return false;
    if ((network.auth & kAuthSae) == 0) return true;
    if (hasOption(key)) {
        control.fail("SET sae_password ", "hostapd would take a part of the key for an option");
        return false;
    }
    return control.set("sae_password", key);
}

// The name is last: if anything else is refused, the BSS must not run under it.
bool setAll(HostapdControl& control, const WifiNetwork& network) {
    const auto [keyManagement, protection] = securityOf(network);
    const bool good = isOpen(network) ? control.set("wpa", "0") && control.set("ieee80211w", "0")
                                      : setKey(control, network) && control.set("wpa", "2") &&
                                            control.set("wpa_key_mgmt", keyManagement) &&
                                            control.set("rsn_pairwise", "CCMP") &&
                                            control.set("ieee80211w", protection);
    return good && control.set("ssid2", hexText(network.ssid.view()));
}

}  // namespace

HostapdValues::HostapdValues(std::string answer) : answer_(std::move(answer)) {
    for (std::string_view rest = answer_; !rest.empty();) {
        const std::string_view line = rest.substr(0, rest.find('\n'));
        rest.remove_prefix(std::min(line.size() + 1, rest.size()));
        if (const size_t equals = line.find('='); equals != line.npos) {
            values_.emplace(line.substr(0, equals), line.substr(equals + 1));
        }
    }
}

HostapdValues::~HostapdValues() {
    eraseSecret(answer_);
}

std::string_view HostapdValues::value(std::string_view name) const {
    const auto found = values_.find(name);
    return found != values_.end() ? found->second : std::string_view();
}

bool HostapdValues::mayBe(std::string_view name, std::string_view expected) const {
    const auto found = values_.find(name);
    return found == values_.end() || found->second == expected;
}

std::string ssidText(Bytes ssid) {
    constexpr std::string_view kSpecial = "\"\\\033\n\r\t", kLetters = "\"\\enrt";
    std::string text;
    for (const uint8_t byte : ssid) {
        const char c = static_cast<char>(byte);
        if (const size_t at = kSpecial.find(c); at != kSpecial.npos) {
            text.append("\\").push_back(kLetters[at]);
        } else if (c >= ' ' && c <= '~') {
            text.push_back(c);
        } else {
            char escaped[5];
            (void)snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            text += escaped;
        }
    }
    return text;
}

std::optional<bool> runsNetwork(HostapdControl& control, const WifiNetwork& network) {
    auto answer = control.ask("GET_CONFIG");
    if (!answer) return {};
    const HostapdValues config(*std::move(answer));
    if (config.value("ssid") != ssidText(network.ssid.view())) return false;
    if (isOpen(network)) return config.value("wpa").empty();
    return config.value("wpa") == "2" &&
           config.value("key_mgmt") == securityOf(network).keyManagement &&
           config.value("rsn_pairwise_cipher") == "CCMP" &&
           config.mayBe(isPsk(network) ? "psk" : "passphrase", network.key.text());
}

bool setBss(HostapdControl& control, const WifiNetwork& network, bool staysOff) {
    if (!setAll(control, network)) return false;
    const auto status = control.ask("STATUS");
    if (!status) return false;
    const bool isOff = HostapdValues(*status).value("state") == "DISABLED";
    const bool isDone = isOff && staysOff;
    if (!isDone && !control.order(isOff ? "ENABLE" : "RELOAD", kRestartLimit)) return false;
    const auto runs = runsNetwork(control, network);
    if (runs == false) control.fail("GET_CONFIG", "it shows other settings than were set");
    return runs == true;
}

bool disableBss(HostapdControl& control) {
    const auto status = control.ask("STATUS");
    if (!status) return false;
    const HostapdValues values(*status);
    if (!values.value("bss[1]").empty()) return control.order("STOP_AP", kRestartLimit);
    return values.value("state") == "DISABLED" || control.order("DISABLE", kRestartLimit);
}

std::string channelOf(HostapdControl& control) {
    const auto status = control.ask("STATUS");
    return status ? std::string(HostapdValues(*status).value("channel")) : "";
}
