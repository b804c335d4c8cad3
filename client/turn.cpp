#include "turn.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "orders/slot_layout.h"

namespace {

constexpr const char* kLockFile = "/tmp/vm1905_client.lock";
// Not through a link, and not held up by a FIFO of that name.
constexpr int kOpenFlags = O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;

int openLockFile() {
    const int found = open(kLockFile, kOpenFlags);
    if (found >= 0 || errno != ENOENT) return found;
    // O_CREAT alone would fail for a file of somebody else where the kernel protects /tmp.
    const int made = open(kLockFile, kOpenFlags | O_CREAT | O_EXCL, 0666);
    if (made < 0) return errno == EEXIST ? open(kLockFile, kOpenFlags) : -1;
    // The file mode mask does not hold for the clients of other users.
    (void)fchmod(made, 0666);
    return made;
}

// Somebody who tidies up /tmp may have removed it since it was opened.
bool isStillThere(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && info.st_nlink > 0;
}

bool lockLine(int fd, short type) {
    struct flock line {};
    line.l_type = type;
    line.l_whence = SEEK_SET;
    line.l_len = 1;
    return fcntl(fd, F_OFD_SETLK, &line) == 0;
}

bool isFifo(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && S_ISFIFO(info.st_mode);
}

// One byte into a FIFO whose reader may leave at any moment.
void writeQuietly(int fd) {
    sigset_t pipe, before, pending;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    // A full FIFO wakes the daemon as well as one byte more.
    if (write(fd, "", 1) < 0 && errno == EPIPE && sigismember(&pending, SIGPIPE) == 0) {
        const timespec none{};
        (void)sigtimedwait(&pipe, nullptr, &none);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

Turn::~Turn() {
    if (fd_ >= 0) close(fd_);
}

// The turn is the flock. Who wants it stands in line for a byte of the file first, so that whoever
// gives the turn back cannot take it again before the one that waits.
int Turn::take(Wait& wait) {
    bool isNext = false;
    for (;;) {
        if (fd_ < 0) fd_ = openLockFile();
        if (fd_ < 0) return VM1905_SYSTEM;
        if (!isNext) isNext = lockLine(fd_, F_WRLCK);
        if (isNext && flock(fd_, LOCK_EX | LOCK_NB) == 0) {
            (void)lockLine(fd_, F_UNLCK);
            if (isStillThere(fd_)) return 0;
            close(fd_);
            fd_ = -1;
            isNext = false;
        } else if (errno != EWOULDBLOCK && errno != EACCES && errno != EINTR) {
            return VM1905_SYSTEM;
        }
        if (const int stop = wait.pause()) return stop == VM1905_TIMEOUT ? VM1905_BUSY : stop;
    }
}

Poke pokeDaemon() {
    const int fd = open(slots::kWakeFifo, O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return errno == ENXIO ? Poke::kNobody : Poke::kUnknown;
    const bool ours = isFifo(fd);
    if (ours) writeQuietly(fd);
    close(fd);
    return ours ? Poke::kHeard : Poke::kUnknown;
}
