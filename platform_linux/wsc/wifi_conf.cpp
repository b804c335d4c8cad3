#include "wsc/wifi_conf.h"

#include <array>

#include "common/text.h"

namespace {

constexpr std::array<std::string_view, 5> kKeys = {"AUTHENTICATION", "BAND", "KEY", "SSID",
                                                   "SSID_HEX"};

struct Authentication {
    std::string_view name;
    uint16_t types;
};
constexpr Authentication kAuthentications[] = {
    {"open", kAuthOpen},
    {"wpa2-psk", kAuthWpa2Psk},
    {"wpa2+wpa3", kAuthWpa2Psk | kAuthSae},
    {"wpa3-sae", kAuthSae},
};

struct Entry {
    std::string_view key, value;
    int line = 0;
};

class Parser {
  public:
    explicit Parser(const WifiComplaint& complain) : complain_(complain) {}

    void take(int line, std::string_view text) {
        if (text.starts_with('[')) {
            endSection();
            name_ = text.ends_with(']') ? text.substr(1, text.size() - 2) : "";
            line_ = line;
            if (!isPlainName(name_)) fail(line, "a section is [NAME], of letters and digits");
            return;
        }
        const auto entry = parseKeyValue(text);
        if (!entry || text.find('\0') != text.npos) return fail(line, "expected KEY = value");
        if (line_ == 0) return fail(line, "a section [NAME] must come first");
        if (std::ranges::find(kKeys, entry->key) == kKeys.end()) return fail(line, "unknown key");
        if (find(entry->key) != nullptr)
            return fail(line, std::string(entry->key) + " is repeated");
        const bool isQuoted = entry->value.starts_with('"');
        if (isQuoted && (entry->value.size() == 1 || !entry->value.ends_with('"'))) {
            fail(line, "the closing quotation mark must end the line");
        }
        const std::string_view value =
            isQuoted ? entry->value.substr(1, entry->value.rfind('"') - 1) : unquoted(entry->value);
        entries_.push_back({entry->key, value, line});
    }

    // Call at the end of the text.
    std::optional<WifiConf> finish() {
        endSection();
        if (failed_) return std::nullopt;
        return std::move(conf_);
    }

  private:
    void fail(int line, const std::string& text) {
        failed_ = true;
        complain_(line, text);
    }

    const Entry* find(std::string_view key) const {
        const auto found = std::ranges::find(entries_, key, &Entry::key);
        return found != entries_.end() ? &*found : nullptr;
    }

    // An entry that the section must have.
    const Entry* demand(std::string_view key) {
        const Entry* found = find(key);
        if (found == nullptr) fail(line_, "the network has no " + std::string(key));
        return found;
    }

    void endSection() {
        if (line_ == 0) return;
        ConfiguredNetwork made{std::string(name_), {}, {}};
        const bool known =
            std::ranges::find(conf_, made.name, &ConfiguredNetwork::name) != conf_.end();
        if (known) fail(line_, "there is another section of this name");
        takeBands(made);
        takeSsid(made.network);
        takeAuthentication(made);
        takeKey(made.network);
        conf_.push_back(std::move(made));
        entries_.clear();
        line_ = 0;
    }

    void takeBands(ConfiguredNetwork& made) {
        const Entry* entry = demand("BAND");
        if (entry == nullptr) return;
        bool good = true;
        forEachWord(entry->value, [&](std::string_view word) {
            const auto* band = std::ranges::find(kWifiBandTable, word, &WifiBand::name);
            if (band == std::end(kWifiBandTable)) {
                good = false;
            } else if (!made.isOn(band->number)) {
                made.bands.push_back(band->number);
            }
        });
        if (!good || made.bands.empty()) {
            fail(entry->line, "BAND is a list of 2.4, 5, 6, guest-2.4 and guest-5");
        }
        for (const uint8_t band : made.bands) {
            const auto isOn = [band](const ConfiguredNetwork& other) { return other.isOn(band); };
            if (std::ranges::count_if(conf_, isOn) == kMaxBandNetworks) {
                fail(entry->line, "there are more than 8 networks on a band");
            }
        }
    }

    void takeSsid(WifiNetwork& made) {
        const Entry *text = find("SSID"), *hex = find("SSID_HEX");
        if ((text == nullptr) == (hex == nullptr)) {
            return fail(line_, "the network needs either SSID or SSID_HEX");
        }
        const auto bytes = hex != nullptr ? parseHex(hex->value) : std::nullopt;
        const bool good = hex == nullptr ? made.ssid.assign(wscBytes(text->value))
                                         : bytes && made.ssid.assign(*bytes);
        if (good && !made.ssid.empty()) return;
        fail(hex != nullptr ? hex->line : text->line,
             hex != nullptr ? "SSID_HEX is 1 to 32 bytes in hexadecimal" : "SSID is 1 to 32 bytes");
    }

    void takeAuthentication(ConfiguredNetwork& made) {
        const Entry* entry = demand("AUTHENTICATION");
        if (entry == nullptr) return;
        const auto* found =
            std::ranges::find(kAuthentications, entry->value, &Authentication::name);
        if (found == std::end(kAuthentications)) {
            return fail(entry->line, "AUTHENTICATION is open, wpa2-psk, wpa2+wpa3 or wpa3-sae");
        }
        made.network.auth = found->types;
        if (made.isOn(kBand6GHz) && found->types != kAuthSae) {
            fail(entry->line, "on 6 GHz only wpa3-sae is allowed");
        }
    }

    void takeKey(WifiNetwork& made) {
        const Entry* entry = find("KEY");
        if (made.auth == 0) return;
        if (made.auth == kAuthOpen) {
            if (entry != nullptr) fail(entry->line, "an open network has no KEY");
            return;
        }
        if (entry == nullptr) return (void)demand("KEY");
        if (!isWifiKey(entry->value, made.auth)) {
            fail(entry->line,
                 "KEY is 8 to 63 ASCII characters or, with wpa2-psk, 64 hexadecimal digits");
        } else {
            (void)made.key.assign(wscBytes(entry->value));
        }
    }

    const WifiComplaint& complain_;
    bool failed_ = false;
    WifiConf conf_;
    // The section that is being read.
    std::string_view name_;
    int line_ = 0;  // 0: none
    std::vector<Entry> entries_;
};

}  // namespace

std::optional<WifiConf> parseWifiConf(std::string_view text, const WifiComplaint& complain) {
    Parser parser(complain);
    for (int number = 1; !text.empty(); number++) {
        const std::string_view line = takeLine(text);
        if (!line.empty() && !line.starts_with('#')) parser.take(number, line);
    }
    return parser.finish();
}

std::string_view authenticationName(uint16_t types) {
    return std::ranges::find(kAuthentications, types, &Authentication::types)->name;
}

std::string writeWifiConf(const WifiConf& conf) {
    std::string text;
    // A growing text would leave copies of the keys behind.
    text.reserve(conf.size() * 1024);
    for (const ConfiguredNetwork& each : conf) {
        text += "[" + each.name + "]\nBAND =";
        for (const uint8_t band : each.bands) text.append(" ").append(wifiBandOf(band)->name);
        text += "\nSSID_HEX = " + hexText(each.network.ssid.view());
        text.append("\nAUTHENTICATION = ")
            .append(authenticationName(each.network.auth))
            .append("\n");
        if (!each.network.key.empty()) {
            text.append("KEY = \"").append(each.network.key.text()).append("\"\n");
        }
    }
    return text;
}
