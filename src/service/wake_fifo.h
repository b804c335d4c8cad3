// The FIFO with which a client that has posted a request ends the daemon's wait for frames.
#pragma once

#include <string>

#include "base/claimed_name.h"
#include "base/fd.h"
#include "orders/slot_layout.h"

struct WakeFifo {
    std::string path = slots::kWakeFifo;  // empty: no FIFO
    Fd fifo;
};

// Makes a new FIFO for the daemon's user, with the group of the service channel. What had the name
// is removed.
void claimWakeFifo(const Owner& owner, ClaimLog log);
// Opens the FIFO, or creates it. Only one of this user is opened. If that fails, clients wait up to
// a second longer for their answers.
void openWakeFifo();
// The descriptor to wait on, -1 without a FIFO.
int wakeFifoFd();
// Reads and discards what clients have written. Called on every pass of the main loop.
void drainWakeFifo();
// Closes and removes the FIFO.
void closeWakeFifo();
