// The monitor of the service channel for local processes: owns both slots and hands each request
// to its handler.
//
// The functions return kOk, or kFailure if the system refuses. In a wrong state of the monitor,
// initServiceMonitor and destroyServiceMonitor return kInvalidState, the others kFailure.
#pragma once

#include <cstdint>

#include "base/monitor_state.h"

struct ServiceMonitor {
    uint32_t state = kUninit;
};

// Creates the slots and the wake FIFO.
[[nodiscard]] int initServiceMonitor();
// Begins to serve clients and the platform library.
[[nodiscard]] int startServiceMonitor();
// Continues the request that waits for its client, or handles at most one new one. Called on every
// pass of the main loop.
[[nodiscard]] int runServiceMonitor();
// Removes the slots and the wake FIFO.
int destroyServiceMonitor();

// Forgets the waiting clients and registers for the requests of the platform library. kOk.
[[nodiscard]] int initServiceHandler();

// The daemon itself does not call this one.

// The MonitorState.
uint32_t getServiceMonitorState();
