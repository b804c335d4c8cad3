#include "turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

constexpr const char* kLockFile = "/tmp/vm1905_client.lock";
// Follows no link, and does not block on a FIFO of that name.
constexpr int kOpenFlags = O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;

int openLockFile() {
    const int found = open(kLockFile, kOpenFlags);
    if (found >= 0 || errno != ENOENT) return found;
    // O_CREAT on an existing file of another user fails if the kernel protects sticky directories.
    const int made = open(kLockFile, kOpenFlags | O_CREAT | O_EXCL, 0666);
    if (made < 0) return errno == EEXIST ? open(kLockFile, kOpenFlags) : -1;
    // Other users' clients must be able to open it, whatever the umask.
    (void)fchmod(made, 0666);
    return made;
}

// A cleanup of /tmp may have removed the file since it was opened.
bool isLinked(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && info.st_nlink > 0;
}

// The queue: a lock of the first byte.
bool lockQueue(int fd, short type) {
    struct flock line {};
    line.l_type = type;
    line.l_whence = SEEK_SET;
    line.l_len = 1;
    return fcntl(fd, F_OFD_SETLK, &line) == 0;
}

}  // namespace

Turn::~Turn() {
    if (fd_ >= 0) close(fd_);
}

// The turn is the flock. A client first locks the queue byte, so that the client that releases the
// turn cannot take it again ahead of the one that waits.
int Turn::take(Wait& wait) {
    bool isNext = false;
    for (;;) {
        if (fd_ < 0) fd_ = openLockFile();
        if (fd_ < 0) return VM1905_SYSTEM;
        if (!isNext) isNext = lockQueue(fd_, F_WRLCK);
        if (isNext && flock(fd_, LOCK_EX | LOCK_NB) == 0) {
            lockQueue(fd_, F_UNLCK);
            if (isLinked(fd_)) return 0;
            close(fd_);
            fd_ = -1;
            isNext = false;
        } else if (errno != EWOULDBLOCK && errno != EACCES && errno != EINTR) {
            return VM1905_SYSTEM;
        }
        if (const int stop = wait.pause()) return stop == VM1905_TIMEOUT ? VM1905_BUSY : stop;
    }
}
