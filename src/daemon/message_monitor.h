// Waits for frames on all ports and hands each one to the receiver. Paces the main loop.
#pragma once

#include <cstdint>

#include "base/monitor_state.h"

struct MessageMonitor {
    uint32_t state = kUninit;
    bool paced = false;  // the last pass waited or read a frame
};

// Opens the ports. kOk, or kFailure if that fails.
[[nodiscard]] int initMessageMonitor();
// Starts transmitter, receiver and handlers. kOk, or kFailure if one fails or the monitor is not
// initialized.
[[nodiscard]] int startMessageMonitor();
// Waits at most one second for a frame or for the wake FIFO, and receives at most one frame per
// port. kOk, or kFailure if the monitor was not started.
[[nodiscard]] int runMessageMonitor();
// True if the last pass waited its full time or read a frame. The main loop pauses after any other
// pass, so that it does not spin.
bool messageMonitorIsPaced();
// Closes the ports. kOk, kInvalidState if the monitor is not initialized, or kFailure if a port
// cannot be closed.
int destroyMessageMonitor();

// The daemon itself does not call this one.

// The MonitorState.
uint32_t getMessageMonitorState();
