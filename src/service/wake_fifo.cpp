#include "service/wake_fifo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "base/fd.h"
#include "base/log.h"
#include "base/state.h"
#include "orders/slot_layout.h"

namespace {

WakeFifo& state() {
    return stateOf<WakeFifo>();
}

bool isFifo(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && S_ISFIFO(info.st_mode);
}

}  // namespace

void openWakeFifo() {
    if (state().path.empty()) return;
    const char* const path = state().path.c_str();
    (void)mkfifo(path, 0622);
    // Opened for writing too: a FIFO without a writer is always readable. O_NOFOLLOW and O_NONBLOCK
    // because another user may have put a link or something that blocks there.
    Fd fifo(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    if (!fifo || !isFifo(fifo.get())) {
        LOG(2, "(%s) is no FIFO of ours\r\n", path);
        return;
    }
    // Any user may write to it, whatever the file mode mask is.
    (void)fchmod(fifo.get(), 0622);
    state().fifo = std::move(fifo);
}

int wakeFifoFd() {
    return state().fifo.get();
}

void drainWakeFifo() {
    if (!state().fifo) return;
    char bytes[256];
    // Bounded, so that a client that never stops writing cannot block the daemon.
    for (int i = 0; i < 256 && read(state().fifo.get(), bytes, sizeof bytes) > 0; i++) {
    }
}

void closeWakeFifo() {
    if (!state().fifo) return;
    state().fifo = Fd();
    (void)unlink(state().path.c_str());
}
