#include "net/counter_store.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <string>
#include <string_view>

#include "base/fd.h"
#include "base/result.h"
#include "db/sys_ctrl.h"

namespace {

constexpr const char* kState = "state";
constexpr const char* kCounters = "mesh_counters";
constexpr const char* kUsedKeys = "mesh_key_used";
constexpr size_t kMostText = size_t{64} * 1024;

Fd openConfFolder() {
    return Fd(open(getSysCtrl().g_conf_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// The folder of the counters. Refused unless it is ours and closed to all others. During the start
// of a confined daemon it already belongs to the user that the daemon will run as.
Fd openStateFolder() {
    const Fd conf = openConfFolder();
    if (!conf) return {};
    (void)mkdirat(conf.get(), kState, 0700);
    Fd folder(openat(conf.get(), kState, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!folder || fstat(folder.get(), &info) != 0 || info.st_uid != getSysCtrl().user ||
        (info.st_mode & 077) != 0) {
        return {};
    }
    return folder;
}

// The content of a file. std::nullopt if it is absent (errno is ENOENT) or cannot be read.
std::optional<std::string> readText(const Fd& folder, const char* name) {
    const Fd file(openat(folder.get(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) return std::nullopt;
    std::string text(kMostText, '\0');
    const ssize_t size = read(file.get(), text.data(), text.size());
    if (size < 0) return std::nullopt;
    text.resize(static_cast<size_t>(size));
    return text;
}

// Replaces a file as a whole: after a power cut it has either the old content or the new one.
int replaceText(const Fd& folder, const char* name, std::string_view text) {
    const std::string fresh = std::string(name) + ".new";
    (void)unlinkat(folder.get(), fresh.c_str(), 0);
    const Fd file(
        openat(folder.get(), fresh.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!file) return kFailure;
    return write(file.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()) &&
                   fsync(file.get()) == 0 &&
                   renameat(folder.get(), fresh.c_str(), folder.get(), name) == 0 &&
                   fsync(folder.get()) == 0
               ? kOk
               : kFailure;
}

std::string usedLine(uint64_t keyTag) {
    char line[20];
    (void)snprintf(line, sizeof line, "%016" PRIx64 "\n", keyTag);
    return line;
}

// A line is a key, a sender and a counter.
bool readLine(const char* line, KeyedSender& sender, uint64_t& counter) {
    auto& b = sender.alMac.b;
    return sscanf(line, "%16" SCNx64 " %2hhx:%2hhx:%2hhx:%2hhx:%2hhx:%2hhx %" SCNu64,
                  &sender.keyTag, &b[0], &b[1], &b[2], &b[3], &b[4], &b[5], &counter) == 8;
}

std::string writeLine(const KeyedSender& sender, uint64_t counter) {
    char line[64];
    (void)snprintf(line, sizeof line, "%016" PRIx64 " " MAC_FMT " %" PRIu64 "\n", sender.keyTag,
                   MAC_ARGS(sender.alMac), counter);
    return line;
}

}  // namespace

StoredCounters loadCounters() {
    const Fd folder = openStateFolder();
    const auto text = folder ? readText(folder, kCounters) : std::nullopt;
    StoredCounters counters;
    for (size_t at = 0; text && at < text->size(); at = text->find('\n', at) + 1) {
        KeyedSender sender;
        uint64_t counter = 0;
        if (text->back() != '\n' || !readLine(text->c_str() + at, sender, counter)) return {};
        counters[sender] = counter;
    }
    return counters;
}

int saveCounters(const StoredCounters& counters) {
    const Fd folder = openStateFolder();
    if (!folder) return kFailure;
    std::string text;
    for (const auto& [sender, counter] : counters) text += writeLine(sender, counter);
    return replaceText(folder, kCounters, text);
}

std::optional<bool> keyWasUsed(uint64_t keyTag) {
    const Fd conf = openConfFolder();
    const auto text = conf ? readText(conf, kUsedKeys) : std::nullopt;
    if (text) return text->find(usedLine(keyTag)) != text->npos;
    return conf && errno == ENOENT ? std::optional(false) : std::nullopt;
}

int noteKeyUse(uint64_t keyTag) {
    const Fd conf = openConfFolder();
    if (!conf) return kFailure;
    return replaceText(conf, kUsedKeys, readText(conf, kUsedKeys).value_or("") + usedLine(keyTag));
}
