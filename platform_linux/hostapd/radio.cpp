#include "hostapd/radio.h"

#include <algorithm>
#include <thread>

#include "common/text.h"
#include "hostapd/applied.h"
#include "hostapd/bss.h"
#include "hostapd/channel.h"

namespace {

using std::chrono::milliseconds;

constexpr unsigned kSwitchCount = 5;  // beacons that announce a switch of the channel
constexpr unsigned kSwitchLooks = 30;
constexpr milliseconds kLookPause{100};

uint32_t numberIn(const HostapdValues& status, std::string_view name) {
    return parseNumber(status.value(name)).value_or(0);
}

bool isSet(const HostapdValues& status, std::string_view name) {
    return status.value(name) == "1";
}

std::string bandOf(const HostapdBss& bss, uint32_t frequency, uint32_t channel) {
    if (frequency != 0) return std::string(bandOfFrequency(frequency));
    if (bss.band.starts_with("guest-")) return bss.band.substr(6);
    if (!bss.band.empty() || channel == 0) return bss.band;
    return channel <= 14 ? "2.4" : "5";
}

// Stopping switches off all BSSs, starting switches on all.
bool restart(HostapdControl& control) {
    forgetDisabledBss();
    return control.order("DISABLE", HostapdControl::kRestartLimit) &&
           control.order("ENABLE", HostapdControl::kRestartLimit);
}

// MHz. hostapd writes 0 for 20 and 40, 1 for 80, 2 for 160 and 3 for 80+80.
unsigned widthOf(const HostapdValues& status) {
    const auto code =
        numberIn(status, isSet(status, "ieee80211ax") ? "he_oper_chwidth" : "vht_oper_chwidth");
    const std::string_view secondary = status.value("secondary_channel");
    if (code == 0) return secondary.empty() || secondary == "0" ? 20 : 40;
    return code == 2 ? 160 : 80;
}

std::string switchCommand(const std::string& band, const WifiChannel& to,
                          const HostapdValues& status) {
    std::string command =
        "CHAN_SWITCH " + std::to_string(kSwitchCount) + " " + std::to_string(to.frequency);
    if (to.width > 20) {
        command += " sec_channel_offset=" + std::to_string(to.secondary) +
                   " center_freq1=" + std::to_string(frequencyOfChannel(band, to.center));
    }
    command += " bandwidth=" + std::to_string(to.width);
    for (const auto& [name, word] :
         {std::pair{"ieee80211n", " ht"}, {"ieee80211ac", " vht"}, {"ieee80211ax", " he"}}) {
        if (isSet(status, name)) command += word;
    }
    return command;
}

// For the next start of the radio.
bool storeChannel(HostapdControl& control, uint32_t number, unsigned width, uint32_t center,
                  const HostapdValues& status) {
    if (!control.set("channel", std::to_string(number))) return false;
    for (const auto& [name, kind] : {std::pair{"ieee80211ac", "vht"}, {"ieee80211ax", "he"}}) {
        const std::string prefix = std::string(kind) + "_oper_";
        // Without a wide channel hostapd ignores the middle.
        if (!isSet(status, name) || numberIn(status, prefix + "chwidth") == 0) continue;
        const unsigned code = width < 80 ? 0 : width / 80;
        if (!control.set(prefix + "chwidth", std::to_string(code)) ||
            !control.set(prefix + "centr_freq_seg0_idx", std::to_string(code == 0 ? 0 : center))) {
            return false;
        }
    }
    return true;
}

// A switch takes a few beacons. While a radio starts, hostapd may not know the frequency yet.
bool comesTo(HostapdControl& control, uint32_t number, uint32_t frequency) {
    for (unsigned look = 0; look < kSwitchLooks; look++) {
        if (look > 0) std::this_thread::sleep_for(kLookPause);
        const auto text = control.ask("STATUS");
        if (!text) return false;
        const HostapdValues status(*text);
        const uint32_t shown = numberIn(status, "freq");
        if (shown == frequency || (shown == 0 && numberIn(status, "channel") == number)) {
            return true;
        }
    }
    control.fail("STATUS", "it shows another channel than was set");
    return false;
}

// The status after a start of the radio; none if it is off. hostapd may find only after its answer
// that it cannot start it.
std::optional<std::string> statusWhenOn(HostapdControl& control) {
    for (unsigned look = 0;; look++) {
        auto text = control.ask("STATUS");
        if (!text) return {};
        const HostapdValues status(*text);
        const std::string_view state = status.value("state");
        if (state == "DISABLED") {
            control.fail("ENABLE", "the radio has not started");
            return {};
        }
        if (state != "COUNTRY_UPDATE" || look == kSwitchLooks) return text;
        std::this_thread::sleep_for(kLookPause);
    }
}

}  // namespace

std::vector<HostapdRadio> listRadios(const HostapdLog& log, bool& good) {
    std::vector<HostapdRadio> radios;
    std::vector<std::string> keys;  // the first BSS of each
    for (const HostapdBss& bss : listBss()) {
        if (bss.band == "none") continue;
        auto control = std::make_unique<HostapdControl>(bss.ifname, log);
        const auto text = control->isOpen() ? control->ask("STATUS") : std::nullopt;
        good = good && text;
        if (!text) continue;
        const HostapdValues status(*text);
        const std::string first(status.value("bss[0]"));
        const std::string& key = first.empty() ? bss.ifname : first;
        if (const auto known = std::ranges::find(keys, key); known != keys.end()) {
            radios[static_cast<size_t>(known - keys.begin())].bss.push_back(bss);
            continue;
        }
        keys.push_back(key);
        HostapdRadio radio;
        radio.bss.push_back(bss);
        radio.control = std::move(control);
        radio.isOn = status.value("state") != "DISABLED";
        radio.channel = numberIn(status, "channel");
        radio.frequency = numberIn(status, "freq");
        radio.country = status.value("country_code");
        radio.band = bandOf(bss, radio.frequency, radio.channel);
        radio.place =
            static_cast<size_t>(std::ranges::count(radios, radio.band, &HostapdRadio::band));
        radios.push_back(std::move(radio));
    }
    return radios;
}

bool setRadioState(HostapdRadio& radio, bool on) {
    const auto text = radio.control->ask("STATUS");
    if (!text) return false;
    const bool isOn = HostapdValues(*text).value("state") != "DISABLED";
    if (on && !isOn) forgetDisabledBss();
    if (isOn != on &&
        !radio.control->order(on ? "ENABLE" : "DISABLE", HostapdControl::kRestartLimit)) {
        return false;
    }
    radio.isOn = on;
    return true;
}

bool setRadioChannel(HostapdRadio& radio, uint32_t number) {
    HostapdControl& control = *radio.control;
    const auto text = control.ask("STATUS");
    if (!text) return false;
    const HostapdValues status(*text);
    const uint32_t former = numberIn(status, "channel"), frequency = numberIn(status, "freq");
    const auto to = wifiChannel(radio.band, number, widthOf(status));
    if (!to) {
        control.fail("SET channel ", "the band has no channel " + std::to_string(number));
        return false;
    }
    if (former == number && (frequency == 0 || frequency == to->frequency)) return true;
    const bool isOn = status.value("state") != "DISABLED";
    if (isOn) {
        const auto reply = control.reply(switchCommand(radio.band, *to, status));
        if (reply && reply->starts_with("OK")) return comesTo(control, number, to->frequency);
    }
    if (storeChannel(control, number, to->width, to->center, status) &&
        (!isOn || (restart(control) && comesTo(control, number, to->frequency)))) {
        return true;
    }
    const std::string prefix = isSet(status, "ieee80211ax") ? "he_oper_" : "vht_oper_";
    (void)storeChannel(control, former, widthOf(status),
                       numberIn(status, prefix + "centr_freq_seg0_idx"), status);
    if (isOn) (void)setRadioState(radio, true);
    return false;
}

bool setRadioCountry(HostapdRadio& radio, const std::string& code, const std::string& former) {
    HostapdControl& control = *radio.control;
    if (radio.country == code) return true;
    if (!control.set("country_code", code)) return false;
    if (!radio.isOn) return true;
    if (const auto text = restart(control) ? statusWhenOn(control) : std::nullopt) {
        if (HostapdValues(*text).mayBe("country_code", code)) return true;
        control.fail("STATUS", "it shows another country code than was set");
        return false;
    }
    const std::string& before = radio.country.empty() ? former : radio.country;
    if (!before.empty() && control.set("country_code", before)) (void)setRadioState(radio, true);
    return false;
}
