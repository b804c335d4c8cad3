#include "common/conf.h"

#include <fcntl.h>
#include <fnmatch.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <optional>

#include "base/fd.h"
#include "common/log.h"
#include "common/text.h"

namespace plat {
namespace {

// Far above any sensible file; what lies beyond is not read.
constexpr size_t kMaxFile = size_t{64} * 1024;
// Complaints about single lines; a file that is none of ours must not flood the log.
constexpr int kMaxComplaints = 8;

constexpr std::array<std::string_view, 23> kKeys = {
    "AL_MAC",          "APPROVED",          "BACKHAUL",         "BUILD_NUMBER", "CONFIGURED",
    "COUNTRY_CODE",    "DAISYCHAIN",        "DEVICE_MODE",      "EXCLUDE",      "FIRMWARE_DOWNLOAD",
    "FIRMWARE_FOLDER", "FIRMWARE_URL",      "FIRMWARE_VERSION", "FORWARD_1905", "HOSTNAME",
    "INCLUDE",         "LAN_MAC",           "LOG_FILE",         "MEDIA_TYPE.",  "SECURITY_KEY",
    "SECURITY_MODE",   "WIFI_COUNTRY_CODE", "WIFI_ROLE."};

bool isKnown(std::string_view key) {
    return std::any_of(kKeys.begin(), kKeys.end(), [key](std::string_view known) {
        return known.ends_with('.') ? key.starts_with(known) : key == known;
    });
}

// A key is printed into the log, so it must be harmless text.
bool isKey(std::string_view text) {
    return !text.empty() && text.size() <= 64 && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
               c == '_' || c == '-' || c == '.' || c == '@';
    });
}

std::string_view valueIn(std::string_view text) {
    text = trim(text);
    if (text.starts_with('"')) {
        const size_t end = text.find('"', 1);
        if (end != text.npos) return text.substr(1, end - 1);
    }
    for (size_t i = 0; i < text.size(); ++i)
        if (text[i] == '#' && (i == 0 || text[i - 1] == ' ' || text[i - 1] == '\t'))
            return trim(text.substr(0, i));
    return text;
}

struct Loaded {
    std::optional<Conf> conf;
};
Loaded loaded;

std::string readFile(const char* path) {
    std::string text;
    const Fd file(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0) return text;
    text.resize(kMaxFile + 1);
    size_t size = 0;
    while (size < text.size()) {
        const ssize_t n = ::read(file.get(), text.data() + size, text.size() - size);
        if (n <= 0) break;
        size += static_cast<size_t>(n);
    }
    if (size > kMaxFile) {
        size = kMaxFile;
        PLAT_LOG(2, "%s is longer than %zu bytes; the rest is not read", path, kMaxFile);
    }
    text.resize(size);
    return text;
}

}  // namespace

void Conf::parse(std::string_view text) {
    int complaints = 0;
    for (int number = 1; !text.empty(); ++number) {
        const size_t end = text.find('\n');
        const std::string_view line = trim(text.substr(0, end));
        text.remove_prefix(end == text.npos ? text.size() : end + 1);
        if (line.empty() || line.starts_with('#')) continue;

        const size_t equals = line.find('=');
        const std::string_view key = trim(line.substr(0, equals));
        if (equals == line.npos || !isKey(key) || line.find('\0') != line.npos) {
            if (complaints++ < kMaxComplaints)
                PLAT_LOG(2, "platform.conf: line %d is not KEY = value", number);
            continue;
        }
        if (!isKnown(key)) {
            if (complaints++ < kMaxComplaints)
                PLAT_LOG(2, "platform.conf: unknown key %s", std::string(key).c_str());
            continue;
        }
        const auto same = [key](const auto& entry) { return entry.first == key; };
        std::erase_if(entries_, same);
        entries_.emplace_back(key, valueIn(line.substr(equals + 1)));
    }
    if (complaints > kMaxComplaints)
        PLAT_LOG(2, "platform.conf: %d more such lines", complaints - kMaxComplaints);
}

std::string_view Conf::value(std::string_view key) const {
    for (const auto& [name, text] : entries_)
        if (name == key) return text;
    return {};
}

bool Conf::has(std::string_view key) const {
    return std::any_of(entries_.begin(), entries_.end(),
                       [key](const auto& entry) { return entry.first == key; });
}

bool Conf::matches(std::string_view key, const char* name) const {
    bool found = false;
    forEachWord(value(key), [&](std::string_view word) {
        found = found || ::fnmatch(std::string(word).c_str(), name, 0) == 0;
    });
    return found;
}

const Conf& conf() {
    if (!loaded.conf) reloadConf();
    return *loaded.conf;
}

void reloadConf() {
    const char* path = ::secure_getenv("VM1905_PLATFORM_CONF");
    Conf fresh;
    fresh.parse(readFile(path != nullptr ? path : "/etc/vm1905/platform.conf"));
    loaded.conf = std::move(fresh);
}

}  // namespace plat
