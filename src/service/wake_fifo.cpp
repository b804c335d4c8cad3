#include "service/wake_fifo.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>

#include "base/fd.h"
#include "base/log.h"
#include "base/state.h"
#include "db/options.h"
#include "orders/slot_layout.h"

namespace {

WakeFifo& state() {
    return stateOf<WakeFifo>();
}

bool isOwnFifo(int fd) {
    struct stat info {};
    return fstat(fd, &info) == 0 && S_ISFIFO(info.st_mode) && info.st_uid == geteuid();
}

// Clients only write to it: with the default mode of the channel, any user may.
mode_t fifoMode() {
    return 0600 | (getChannelModeOption() & 0022);
}

}  // namespace

void claimWakeFifo(const Owner& owner, ClaimLog log) {
    if (state().path.empty()) return;
    claimFifo(state().path, {owner.user, getChannelGroupOption().value_or(owner.group)}, log);
}

void openWakeFifo() {
    if (state().path.empty()) return;
    const char* const path = state().path.c_str();
    (void)mkfifo(path, fifoMode());
    // Opened for writing too: a FIFO without a writer is always readable. O_NOFOLLOW and O_NONBLOCK
    // because another user may have put a link or something that blocks there.
    Fd fifo(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    if (!fifo || !isOwnFifo(fifo.get())) {
        LOG(2, "(%s) is no FIFO of ours\r\n", path);
        return;
    }
    // Whatever the file mode mask is.
    (void)fchmod(fifo.get(), fifoMode());
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
