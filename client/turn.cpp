#include "turn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace {

// Follows no link, and does not block on a FIFO of that name.
constexpr int kOpenFlags = O_RDWR | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC;
// Any user can hold the lock in /tmp for as long as he likes. A client of the library holds it
// longer than this only if the daemon does not answer, and then the slot shows that it is in use.
constexpr std::chrono::milliseconds kPatience{2000};
constexpr auto kUnlimited = std::chrono::steady_clock::duration::max();

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

LockFile::~LockFile() {
    if (fd_ >= 0) close(fd_);
}

int LockFile::openFile() const {
    const int found = open(path_, kOpenFlags);
    if (found >= 0 || errno != ENOENT) return found;
    // O_CREAT on an existing file of another user fails if the kernel protects sticky directories.
    const int made = open(path_, kOpenFlags | O_CREAT | O_EXCL, mode_);
    if (made < 0) return errno == EEXIST ? open(path_, kOpenFlags) : -1;
    // Other users' clients may have to open it, whatever the umask.
    (void)fchmod(made, mode_);
    return made;
}

// The lock is the flock. A client first locks the queue byte, so that the client that releases the
// lock cannot take it again ahead of the one that waits.
LockFile::Step LockFile::tryOnce() {
    if (fd_ < 0) fd_ = openFile();
    if (fd_ < 0) return Step::kFailed;
    if (!isNext_) isNext_ = lockQueue(fd_, F_WRLCK);
    if (isNext_ && flock(fd_, LOCK_EX | LOCK_NB) == 0) {
        lockQueue(fd_, F_UNLCK);
        if (isLinked(fd_)) return Step::kTaken;
        close(fd_);
        fd_ = -1;
        isNext_ = false;
    } else if (errno != EWOULDBLOCK && errno != EACCES && errno != EINTR) {
        return Step::kFailed;
    }
    return Step::kBusy;
}

int LockFile::take(Wait& wait, std::chrono::steady_clock::duration limit) {
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        const Step step = tryOnce();
        if (step != Step::kBusy) return step == Step::kTaken ? 0 : VM1905_SYSTEM;
        if (std::chrono::steady_clock::now() - start > limit) return VM1905_BUSY;
        if (const int stop = wait.pause()) return stop == VM1905_TIMEOUT ? VM1905_BUSY : stop;
    }
}

// Clients of root first take a lock that no other user can open. So they exclude each other even if
// they do not get the other lock, which no user can then keep from them.
int Turn::take(Wait& wait) {
    if (geteuid() != 0) return everybodys_.take(wait, kUnlimited);
    const int result = roots_.take(wait, kUnlimited);
    // Without a /var/run, root is like everybody.
    if (result == VM1905_SYSTEM) return everybodys_.take(wait, kUnlimited);
    if (result != 0) return result;
    const int common = everybodys_.take(wait, kPatience);
    if (common == VM1905_CANCELLED) return common;
    return common == VM1905_BUSY && wait.left() == 0 ? VM1905_BUSY : 0;
}
