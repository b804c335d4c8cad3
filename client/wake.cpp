#include "wake.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <ctime>

#include "orders/slot_layout.h"

namespace {

bool isFifo(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && S_ISFIFO(info.st_mode);
}

// Writes one byte to a FIFO whose reader may leave at any moment.
void writeQuietly(int fd) {
    sigset_t pipe, before, pending;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    sigpending(&pending);
    pthread_sigmask(SIG_BLOCK, &pipe, &before);
    // A full FIFO needs no further byte to wake the daemon.
    if (write(fd, "", 1) < 0 && errno == EPIPE && sigismember(&pending, SIGPIPE) == 0) {
        const timespec none{};
        sigtimedwait(&pipe, nullptr, &none);
    }
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace

Poke pokeDaemon() {
    const int fd = open(slots::kWakeFifo, O_WRONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0) return errno == ENXIO ? Poke::kNoReader : Poke::kNoFifo;
    const bool isOurs = isFifo(fd);
    if (isOurs) writeQuietly(fd);
    close(fd);
    return isOurs ? Poke::kWoken : Poke::kNoFifo;
}
