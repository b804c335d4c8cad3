#include "common/conf.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include "common/files.h"
#include "common/log.h"
#include "common/text.h"

namespace {

// Far above any sensible file; the rest is ignored.
constexpr size_t kMaxFile = size_t{64} * 1024;
// Complaints about single lines: a wrong file must not flood the log.
constexpr int kMaxComplaints = 8;

constexpr std::array<std::string_view, 30> kKeys = {"AL_MAC",
                                                    "APPROVED",
                                                    "BACKHAUL",
                                                    "BUILD_NUMBER",
                                                    "CONFIGURED",
                                                    "COUNTRY_CODE",
                                                    "DAISYCHAIN",
                                                    "DEVICE_MODE",
                                                    "DNSMASQ_PID_FILE",
                                                    "EXCLUDE",
                                                    "FIRMWARE_DOWNGRADE",
                                                    "FIRMWARE_DOWNLOAD",
                                                    "FIRMWARE_FOLDER",
                                                    "FIRMWARE_HOSTS",
                                                    "FIRMWARE_KEYS",
                                                    "FIRMWARE_MODEL",
                                                    "FIRMWARE_UNSIGNED",
                                                    "FIRMWARE_URL",
                                                    "FIRMWARE_VERSION",
                                                    "FORWARD_1905",
                                                    "HOSTAPD_FOLDER",
                                                    "HOSTNAME",
                                                    "INCLUDE",
                                                    "LAN_MAC",
                                                    "LOG_FILE",
                                                    "MEDIA_TYPE.",
                                                    "SECURITY_KEY",
                                                    "SECURITY_MODE",
                                                    "WIFI_COUNTRY_CODE",
                                                    "WIFI_ROLE."};

bool isKnown(std::string_view key) {
    return std::any_of(kKeys.begin(), kKeys.end(), [key](std::string_view known) {
        return known.ends_with('.') ? key.starts_with(known) : key == known;
    });
}

// Keys are logged, so they must be harmless text.
bool isKey(std::string_view text) {
    return !text.empty() && text.size() <= 64 && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-' || c == '.' || c == '@';
    });
}

struct {
    std::optional<Conf> conf;
} loaded;

void load(Complaints complaints) {
    const char* given = secure_getenv("VM1905_PLATFORM_CONF");
    const char* path = given != nullptr ? given : "/etc/vm1905/platform.conf";
    std::string text = readFile(path, kMaxFile + 1);
    if (text.size() > kMaxFile) {
        text.resize(kMaxFile);
        if (complaints == Complaints::kLog) {
            LOG_LINE(2, "%s is longer than %zu bytes; the rest is ignored", path, kMaxFile);
        }
    }
    Conf fresh;
    fresh.parse(text, complaints);
    loaded.conf = std::move(fresh);
}

}  // namespace

void Conf::parse(std::string_view text, Complaints complaints) {
    int bad = 0;
    const auto mayComplain = [&] {
        return complaints == Complaints::kLog && bad++ < kMaxComplaints;
    };
    for (int number = 1; !text.empty(); number++) {
        const std::string_view line = takeLine(text);
        if (line.empty() || line.starts_with('#')) continue;

        const auto entry = parseKeyValue(line);
        if (!entry || !isKey(entry->key) || line.find('\0') != line.npos) {
            if (mayComplain()) LOG_LINE(2, "platform.conf: line %d is not KEY = value", number);
            continue;
        }
        const std::string key(entry->key);
        if (!isKnown(key)) {
            if (mayComplain()) LOG_LINE(2, "platform.conf: unknown key %s", key.c_str());
            continue;
        }
        std::erase_if(entries_, [&key](const auto& known) { return known.first == key; });
        entries_.emplace_back(key, unquoted(entry->value));
    }
    if (bad > kMaxComplaints) {
        LOG_LINE(2, "platform.conf: %d more such lines", bad - kMaxComplaints);
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

const Conf& conf() {
    if (!loaded.conf) load(Complaints::kDrop);
    return *loaded.conf;
}

void reloadConf() {
    load(Complaints::kLog);
}
