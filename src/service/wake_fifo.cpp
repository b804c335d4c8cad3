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
    // Open for writing too: without a writer a FIFO is readable for ever. Not through a link, and
    // not held up by anything that bears the name.
    Fd fifo(open(path, O_RDWR | O_NONBLOCK | O_CLOEXEC | O_NOFOLLOW));
    if (!fifo || !isFifo(fifo.get())) {
        LOG(2, "(%s) is no FIFO of ours\r\n", path);
        return;
    }
    // The file mode mask does not hold for those who may poke.
    (void)fchmod(fifo.get(), 0622);
    state().fifo = std::move(fifo);
}

int wakeFifoFd() {
    return state().fifo.get();
}

void drainWakeFifo() {
    if (!state().fifo) return;
    char bytes[256];
    // Bounded: a client that never stops poking must not stop the daemon.
    for (int i = 0; i < 256 && read(state().fifo.get(), bytes, sizeof bytes) > 0; i++) {
    }
}

void closeWakeFifo() {
    if (!state().fifo) return;
    state().fifo = Fd();
    (void)unlink(state().path.c_str());
}
