#include "db/state_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>

#include "base/result.h"
#include "db/sys_ctrl.h"
#include "platform/exports.h"

namespace {

constexpr const char* kState = "state";
constexpr size_t kMostText = size_t{64} * 1024;

}  // namespace

Fd openConfFolder() {
    return Fd(open(getSysCtrl().g_conf_folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

// During the start of a confined daemon it already belongs to the user that the daemon will run as.
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

std::optional<std::string> readText(const Fd& folder, const char* name) {
    const Fd file(openat(folder.get(), name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file) return std::nullopt;
    std::string text(kMostText, '\0');
    const ssize_t size = read(file.get(), text.data(), text.size());
    if (size < 0) return std::nullopt;
    text.resize(static_cast<size_t>(size));
    return text;
}

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

int loadState(const char* name, char* text, uint32_t size) {
    const Fd folder = openStateFolder();
    const auto stored = folder ? readText(folder, name) : std::nullopt;
    if (!stored || stored->size() >= size) return kFailure;
    text[stored->copy(text, stored->size())] = '\0';
    return kOk;
}

int saveState(const char* name, const char* text) {
    const Fd folder = openStateFolder();
    return folder ? replaceText(folder, name, text) : int{kFailure};
}
