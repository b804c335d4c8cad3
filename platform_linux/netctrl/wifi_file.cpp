#include "netctrl/wifi_file.h"

#include <sys/inotify.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>

#include "base/fd.h"
#include "common/files.h"
#include "common/helper.h"
#include "common/log.h"
#include "common/secret.h"

namespace {

constexpr size_t kMaxFile = size_t{64} * 1024;
constexpr int kMaxComplaints = 8;

struct {
    bool exists = false;
    std::optional<WifiConf> conf;
    time_t changed = 0;
    Fd watch;
} file;

std::filesystem::path filePath() {
    const char* given = secure_getenv("VM1905_WIFI_CONF");
    return given != nullptr ? given : "/etc/vm1905/wifi.conf";
}

std::optional<WifiConf> parseAndLog(std::string_view text) {
    int num = 0;
    const auto complain = [&num](int line, const std::string& what) {
        if (num++ < kMaxComplaints) LOG_LINE(1, "wifi.conf: line %d: %s", line, what.c_str());
    };
    auto conf = parseWifiConf(text, complain);
    if (num > kMaxComplaints) LOG_LINE(1, "wifi.conf: %d more errors", num - kMaxComplaints);
    return conf;
}

// Whether one of the kernel's reports concerns the file.
bool hasChanged() {
    const std::string name = filePath().filename();
    alignas(inotify_event) char events[4096];
    bool found = false;
    for (ssize_t size = 0;
         file.watch && (size = read(file.watch.get(), events, sizeof events)) > 0;) {
        for (size_t at = 0; at + sizeof(inotify_event) <= static_cast<size_t>(size);) {
            inotify_event event;
            std::memcpy(&event, events + at, sizeof event);
            at += sizeof event;
            // The name is padded with NULs. A queue that overflowed may have lost ours.
            found = found || (event.mask & IN_Q_OVERFLOW) != 0 ||
                    (event.len > 0 && name == events + at);
            at += event.len;
        }
    }
    return found;
}

}  // namespace

void readWifiFile() {
    const std::filesystem::path path = filePath();
    struct stat info {};
    file.exists = stat(path.c_str(), &info) == 0;
    if (!file.exists) {
        file.conf.reset();
        return;
    }
    if (access(path.c_str(), R_OK) != 0) {
        LOG_LINE(1, "wifi.conf cannot be read: %s", strerror(errno));
        return;
    }
    std::string text = readFile(path, kMaxFile + 1);
    auto conf = text.size() <= kMaxFile ? parseAndLog(text) : std::nullopt;
    eraseSecret(text);
    if (!conf) {
        LOG_LINE(1, "wifi.conf has errors or is too long; %s",
                 file.conf ? "the networks remain as they were" : "no device gets a network");
        return;
    }
    file.conf = std::move(conf);
    file.changed = info.st_mtime;
    LOG_LINE(3, "wifi.conf: %zu networks", file.conf->size());
}

void openWifiFile() {
    if (!isConfined()) readWifiFile();
    // The folder, because editors replace the file.
    file.watch = Fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    constexpr uint32_t kEvents = IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE;
    (void)inotify_add_watch(file.watch.get(), filePath().parent_path().c_str(), kEvents);
}

void closeWifiFile() {
    file = {};
}

bool hasWifiFile() {
    return file.exists;
}

std::optional<std::vector<ConfiguredNetwork>> configuredNetworks(uint8_t band) {
    if (!file.conf) return std::nullopt;
    std::vector<ConfiguredNetwork> networks;
    std::ranges::copy_if(*file.conf, std::back_inserter(networks),
                         [band](const ConfiguredNetwork& each) { return each.isOn(band); });
    return networks;
}

std::string wifiTimeText(time_t time) {
    char text[24];
    (void)snprintf(text, sizeof text, "%010lld", static_cast<long long>(time));
    return text;
}

std::string wifiFileTime() {
    return wifiTimeText(file.changed);
}

std::vector<uint8_t> takeWifiChanges() {
    std::vector<uint8_t> bands;
    if (!hasChanged()) return bands;
    const auto networks = [] {
        std::vector<std::vector<ConfiguredNetwork>> all;
        for (const WifiBand& band : kWifiBandTable) {
            all.push_back(
                configuredNetworks(band.number).value_or(std::vector<ConfiguredNetwork>{}));
        }
        return all;
    };
    const auto before = networks();
    readWifiFile();
    const auto now = networks();
    for (size_t i = 0; hasWifiFile() && i < now.size(); i++) {
        if (now[i] != before[i]) bands.push_back(kWifiBandTable[i].number);
    }
    return bands;
}
