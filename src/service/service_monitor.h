// The monitor of the service channel for local processes: owns both slots and hands each request
// to its handler.
//
// kOk, kFailure, or kInvalidState when the monitor is not in the state that the call asks for.
#pragma once

#include <cstdint>

#include "base/monitor_state.h"

struct ServiceMonitor {
    uint32_t state = kUninit;
};

[[nodiscard]] int initServiceMonitor();
[[nodiscard]] int startServiceMonitor();
// Handles at most one request. Called on every pass of the main loop.
[[nodiscard]] int runServiceMonitor();
int destroyServiceMonitor();

// A MonitorState.
uint32_t getServiceMonitorState();

// Forgets the clients that wait and takes the requests of the platform library. kOk.
[[nodiscard]] int initServiceHandler();
