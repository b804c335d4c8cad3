// The monitor of the service channel for local processes.
//
// kOk, kFailure, or kInvalidState when the monitor is not in the state that the call asks for.
#pragma once

int initServiceMonitor();
int startServiceMonitor();
// Handles at most one request. Called on every pass of the main loop.
int runServiceMonitor();
int destroyServiceMonitor();
