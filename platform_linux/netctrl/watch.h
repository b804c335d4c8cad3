// What the daemon has been told about the device's network, and the reports of what changes in it.
#pragma once

#include "api.h"
#include "netctrl/picture.h"

// Begins to listen to the kernel; false when that is impossible.
[[nodiscard]] bool openWatch();
void closeWatch();

// Takes a fresh picture as what the daemon is told now; what changes from here on is reported.
// False when the kernel does not answer.
[[nodiscard]] bool tellAnew();

// What the daemon has been told, every report made so far included.
const Picture& told();
// The AL MAC address as told; the one that the rule gives at first, kept for as long as one of the
// device's interfaces bears it. A bridge takes over a new port's address, which must not turn the
// device into another one for its neighbors.
std::optional<MacAddr> toldAlMac();

// Reports, through the callback, what has changed since. 0, or 16 when the kernel cannot be
// listened to any longer.
int runWatch(NetStatusEventCallback callback);
