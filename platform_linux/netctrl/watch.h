// What has been reported to the daemon about the device's network, and the reports of changes.
#pragma once

#include "api.h"
#include "netctrl/picture.h"

// Starts listening to the kernel; false if that is impossible.
[[nodiscard]] bool openWatch();
void closeWatch();

// Takes a fresh picture as the one that the daemon knows; later changes will be reported. False if
// the kernel does not answer.
[[nodiscard]] bool resetReported();

// The network as the daemon knows it, including every report so far.
const Picture& reported();
// The AL MAC address as the daemon knows it. Once chosen by alMacOf() it is kept while any
// interface of the device has it: a bridge may take over the address of a new port, but the device
// must not look like another one to its neighbors.
std::optional<MacAddr> reportedAlMac();

// True if the addresses of the device may have changed since the last call.
[[nodiscard]] bool addressesMayHaveChanged();

// Reports changes through the callback. 16 if listening to the kernel has failed for good, else 0.
int runWatch(NetStatusEventCallback callback);
