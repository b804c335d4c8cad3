#include "base/public_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "base/fd.h"
#include "base/log.h"
#include "base/result.h"

bool isOrdinaryFile(const char* path) {
    struct stat status {};
    return lstat(path, &status) == 0 ? S_ISREG(status.st_mode) : errno == ENOENT;
}

int writePublicFile(const char* path, std::string_view text) {
    const Fd file(open(path, O_WRONLY | O_CREAT | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC, 0666));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return kFailure;
    if (ftruncate(file.get(), 0) != 0) return kFailure;
    while (!text.empty()) {
        const ssize_t written = write(file.get(), text.data(), text.size());
        if (written > 0) {
            text.remove_prefix(static_cast<size_t>(written));
        } else if (written == 0 || errno != EINTR) {
            LOG(1, "failed to write %s\r\n", path);
            return kFailure;
        }
    }
    return kOk;
}
