// The FIFO by which a client that has posted a request ends the daemon's wait for frames.
#pragma once

#include <string>

#include "base/fd.h"
#include "orders/slot_layout.h"

struct WakeFifo {
    std::string path = slots::kWakeFifo;  // empty: none is made
    Fd fifo;
};

// Makes it. Without one, clients are served all the same, only up to a second later.
void openWakeFifo();
// For the wait; -1 without a FIFO.
int wakeFifoFd();
// Empties it: called on every pass.
void drainWakeFifo();
// Removes it.
void closeWakeFifo();
