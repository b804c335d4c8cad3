#include "common/conf.h"

#include <algorithm>
#include <iterator>

#include "common/text.h"

namespace {

bool isYesNo(std::string_view value) {
    return value == "yes" || value == "no";
}

bool areMacs(std::string_view value) {
    bool all = true;
    forEachWord(value, [&](std::string_view word) { all = all && macFromText(word).has_value(); });
    return all;
}

bool isBand(std::string_view value) {
    constexpr std::string_view kBands[] = {"2.4", "5", "6", "guest-2.4", "guest-5", "none"};
    return std::ranges::find(kBands, value) != std::end(kBands);
}

constexpr ConfType kText{"text", [](std::string_view) { return true; }};
constexpr ConfType kYesNo{"yes or no", isYesNo};
constexpr ConfType kMac{"a MAC address",
                        [](std::string_view value) { return macFromText(value).has_value(); }};
constexpr ConfType kMacs{"MAC addresses", areMacs};
constexpr ConfType kMediaType{"0 to 0xffff", [](std::string_view value) {
                                  return parseNumber(value).value_or(~0U) <= 0xFFFF;
                              }};
constexpr ConfType kSecurityMode{
    "0 to 2", [](std::string_view value) { return parseNumber(value).value_or(~0U) <= 2; }};
constexpr ConfType kBand{"2.4, 5, 6, guest-2.4, guest-5 or none", isBand};

constexpr PlatformKey kKeys[] = {
    {"AL_MAC", kMac},
    {"APPROVED", kMacs},
    {"BACKHAUL", kText},
    {"BUILD_NUMBER", kText},
    {"CONFIGURED", kYesNo},
    {"COUNTRY_CODE", kText},
    {"DAISYCHAIN", kText},
    {"DEVICE_MODE", kText},
    {"DNSMASQ_PID_FILE", kText},
    {"EXCLUDE", kText},
    {"FIRMWARE_DOWNGRADE", kYesNo},
    {"FIRMWARE_DOWNLOAD", kText},
    {"FIRMWARE_FOLDER", kText},
    {"FIRMWARE_HOSTS", kText},
    {"FIRMWARE_KEYS", kText},
    {"FIRMWARE_MODEL", kText},
    {"FIRMWARE_UNSIGNED", kYesNo},
    {"FIRMWARE_URL", kText},
    {"FIRMWARE_VERSION", kText},
    {"FORWARD_1905", kYesNo},
    {"HOSTAPD_FOLDER", kText},
    {"HOSTNAME", kText},
    {"INCLUDE", kText},
    {"LAN_MAC", kMac},
    {"LOG_FILE", kText},
    {"MEDIA_TYPE.", kMediaType},
    {"SECURITY_KEY", kText},
    {"SECURITY_MODE", kSecurityMode},
    {"WIFI_BAND.", kBand},
    {"WIFI_COUNTRY_CODE", kText},
    {"WIFI_ROLE.", kText},
    {"WIFI_SETTINGS_FILE", kText},
};

const PlatformKey* keyNamed(std::string_view name) {
    const auto* const found = std::ranges::find_if(kKeys, [name](const PlatformKey& key) {
        return key.name.ends_with('.') ? name.starts_with(key.name) : name == key.name;
    });
    return found != std::end(kKeys) ? found : nullptr;
}

// Keys are logged, so they must be harmless text.
bool isKey(std::string_view text) {
    return !text.empty() && text.size() <= 64 && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-' || c == '.' || c == '@';
    });
}

}  // namespace

std::span<const PlatformKey> platformKeys() {
    return kKeys;
}

void Conf::parse(std::string_view text, const ConfComplaint& complain) {
    for (int number = 1; !text.empty(); number++) {
        const std::string_view line = takeLine(text);
        if (line.empty() || line.starts_with('#')) continue;

        const auto entry = parseKeyValue(line);
        if (!entry || !isKey(entry->key) || line.find('\0') != line.npos) {
            complain(number, "not KEY = value");
            continue;
        }
        const std::string name(entry->key);
        const PlatformKey* const key = keyNamed(name);
        if (key == nullptr) {
            complain(number, "unknown key " + name);
            continue;
        }
        const std::string_view value = unquoted(entry->value);
        if (!value.empty() && !key->type.accepts(value)) {
            complain(number, wrongValue(name, key->type, value));
        }
        std::erase_if(entries_, [&name](const auto& known) { return known.first == name; });
        entries_.emplace_back(name, value);
    }
}

std::string_view Conf::value(std::string_view key) const {
    for (const auto& [name, text] : entries_) {
        if (name == key) return text;
    }
    return {};
}

bool Conf::has(std::string_view key) const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [key](const auto& entry) { return entry.first == key; });
}

bool Conf::matches(std::string_view key, const std::string& name) const {
    return matchesAny(value(key), name);
}
