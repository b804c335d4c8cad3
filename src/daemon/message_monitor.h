// Waits for frames on all ports and hands each one to the receiver. Paces the main loop.
#pragma once

#include <cstdint>

#include "base/monitor_state.h"

struct MessageMonitor {
    uint32_t state = kUninit;
    bool paced = false;  // the last pass
};

// Builds the ports. kOk or kFailure.
[[nodiscard]] int initMessageMonitor();
// Starts transmitter, receiver and handlers. kOk or kFailure.
[[nodiscard]] int startMessageMonitor();
// Waits at most one second for a frame or a poke of the wake FIFO, and receives at most one frame a
// port. kOk, or kFailure when the
// monitor was not started.
[[nodiscard]] int runMessageMonitor();
// True when the last pass waited its time or read a frame. One that did neither would come again at
// once, without end.
bool messageMonitorIsPaced();
// Closes the ports. kOk, kInvalidState when there is nothing to destroy, or kFailure.
int destroyMessageMonitor();

// A MonitorState.
uint32_t getMessageMonitorState();
