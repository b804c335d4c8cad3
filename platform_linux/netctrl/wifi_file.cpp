#include "netctrl/wifi_file.h"

#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <utility>

#include "base/fd.h"
#include "base/result.h"
#include "common/helper.h"
#include "common/job.h"
#include "common/log.h"
#include "common/secret.h"
#include "common/text.h"

namespace {

constexpr size_t kMaxFile = size_t{64} * 1024;
constexpr int kMaxComplaints = 8;
constexpr const char* kProgram = "wifi.conf";

struct {
    bool exists = false;
    bool isStale = false;  // it has changed since it was read
    std::optional<WifiConf> conf;
    time_t changed = 0;
    std::set<uint8_t> changedBands{};
    Fd watch;
} file;

std::filesystem::path filePath() {
    const char* given = secure_getenv("VM1905_WIFI_CONF");
    return given != nullptr ? given : "/etc/vm1905/wifi.conf";
}

// A device or a FIFO under this name must not block.
Fd openFile() {
    return Fd(open(filePath().c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

// At most one byte more than is allowed, so that a file that is too long is noticed. An errno if it
// cannot be read, EINVAL if it is not a regular file.
int readText(const Fd& source, std::string& text, struct stat& info) {
    if (!source || fstat(source.get(), &info) != 0) return errno;
    if (!S_ISREG(info.st_mode)) return EINVAL;
    text.resize(kMaxFile + 1);
    const ssize_t size = pread(source.get(), text.data(), text.size(), 0);
    text.resize(size > 0 ? static_cast<size_t>(size) : 0);
    return size < 0 ? errno : 0;
}

// It exists, and the networks remain.
void complain(int error) {
    file.exists = true;
    LOG_LINE(1, "wifi.conf cannot be read: %s%s",
             error == EINVAL ? "it is not a regular file" : strerror(error),
             error == EACCES ? "; the user of the daemon (vm1905) must be able to read it" : "");
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

// Replaces the networks, and notes the bands that are different then.
void replaceNetworks(std::optional<WifiConf> conf) {
    const auto networks = [](uint8_t band) {
        return configuredNetworks(band).value_or(WifiConf{});
    };
    std::map<uint8_t, WifiConf> before;
    for (const WifiBand& band : kWifiBandTable) before[band.number] = networks(band.number);
    file.conf = std::move(conf);
    for (const auto& [band, had] : before) {
        if (file.conf && networks(band) != had) file.changedBands.insert(band);
    }
}

// Takes the text and erases it. An empty file is what a full disk or a power failure leaves.
void take(std::string& text, time_t changed) {
    file.exists = true;
    const bool isUsable = text.size() <= kMaxFile && !trim(text).empty();
    auto conf = isUsable ? parseAndLog(text) : std::nullopt;
    eraseSecret(text);
    if (!conf) {
        LOG_LINE(1, "wifi.conf has errors, is empty or too long; %s",
                 file.conf ? "the networks remain as they were" : "no device gets a network");
        return;
    }
    replaceNetworks(std::move(conf));
    file.changed = changed;
    LOG_LINE(3, "wifi.conf: %zu networks", file.conf->size());
}

void forget() {
    file.exists = false;
    replaceNetworks(std::nullopt);
}

// Has the helper copy the file, which this process may not read.
void readAsRoot() {
    const auto copy = std::make_shared<Fd>(memfd_create(kProgram, MFD_CLOEXEC));
    const auto done = [copy](int status, const std::string&) {
        struct stat info {};
        std::string text;
        const int error = status == kOk ? readText(*copy, text, info) : status;
        if (error == ENOENT) {
            forget();
        } else if (error != 0) {
            complain(error);
        } else {
            take(text, info.st_mtime);
        }
    };
    file.exists = true;
    if (*copy && startJob(kProgram, {}, {.file = copy->get()}, done) != 0) return;
    LOG_LINE(1, "wifi.conf cannot be read any more: changes need a restart of the daemon");
}

void readWifiFile() {
    const Fd source = openFile();
    struct stat info {};
    std::string text;
    const int error = source ? readText(source, text, info) : errno;
    if (error == 0) {
        take(text, info.st_mtime);
    } else if (error == ENOENT) {
        forget();
    } else if (error == EACCES && isConfined()) {
        readAsRoot();
    } else {
        complain(error);
    }
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

void openWifiFile() {
    if (file.watch) return;
    // The folder, because editors replace the file.
    file.watch = Fd(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
    constexpr uint32_t kEvents =
        IN_CLOSE_WRITE | IN_MOVED_TO | IN_MOVED_FROM | IN_DELETE | IN_ATTRIB;
    const std::string folder = filePath().parent_path();
    if (inotify_add_watch(file.watch.get(), folder.c_str(), kEvents) < 0) {
        LOG_LINE(2, "changes of wifi.conf will not be noticed: %s: %s", folder.c_str(),
                 strerror(errno));
    }
    readWifiFile();
    // What is there at the start is no change.
    file.changedBands.clear();
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

WifiConf allConfiguredNetworks() {
    return file.conf.value_or(WifiConf{});
}

std::string wifiFilePath() {
    return filePath();
}

std::string wifiTimeText(time_t time) {
    char text[24];
    (void)snprintf(text, sizeof text, "%010lld", static_cast<long long>(time));
    return text;
}

std::string wifiFileTime() {
    return wifiTimeText(file.changed);
}

std::set<uint8_t> takeWifiChanges() {
    if (hasChanged()) file.isStale = true;
    if (file.isStale && !isJobRunning(kProgram)) {
        file.isStale = false;
        readWifiFile();
    }
    return std::exchange(file.changedBands, {});
}

int runWifiFile(const Arguments& /*args*/) {
    const Fd source = openFile();
    struct stat info {};
    std::string text;
    if (const int error = source ? readText(source, text, info) : errno; error != 0) return error;
    const timespec times[] = {info.st_mtim, info.st_mtim};
    const bool isCopied =
        write(kWorkFile, text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
        futimens(kWorkFile, times) == 0;
    return isCopied ? int{kOk} : kFailure;
}
