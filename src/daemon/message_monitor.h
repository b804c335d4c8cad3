// Waits for frames on all ports and hands each one to the receiver. Paces the main loop.
#pragma once

#include <cstdint>

enum MonitorState : uint32_t { kUninit = 0, kInit = 1, kStart = 2, kIdle = 3, kStop = 4 };

// Builds the ports. kOk or kFailure.
int initMessageMonitor();
// Starts transmitter, receiver and handlers. kOk or kFailure.
int startMessageMonitor();
// Waits at most one second and receives at most one frame a port. kOk, or kFailure when the
// monitor was not started.
int runMessageMonitor();
// True when the last pass waited its time or read a frame. One that did neither would come again at
// once, without end.
bool messageMonitorIsPaced();
// One more descriptor that ends the wait when it is readable, -1 for none. It stays the caller's,
// who reads from it on every pass.
void setExtraReadFd(int fd);
// Closes the ports. kOk, kInvalidState when there is nothing to destroy, or kFailure.
int destroyMessageMonitor();

uint32_t getMessageMonitorState();
