// The periodic controller loop: everything that happens in the mesh on a schedule. The periods
// are in orders/schedule.h.
#pragma once

#include "base/clock.h"
#include "db/records.h"
#include "db/upcalls.h"

// When the loop last did what.
struct ControllerLoop {
    Seconds lastPass = 0;
    Seconds lastQueries = 0;
    Seconds lastMeshMacs = 0;
    Seconds lastIp = 0;
};

// One pass at the time now(): runs the checks that are due, asks the devices that are due for their
// configuration and power states, and publishes the root AP's addresses. force 1 does the latter
// two at once. Called on every pass of the main loop.
void MessageTransmitterLoop(Seconds time, int force);

// Read and write a device's record of this name, "flag_powerstate" or "flag_deviceinfo". kOk, or
// kFailure for an unknown device, an unknown or missing name or a missing record.
int getMessageTransmitterCheck(const MacAddr& alMac, const char* flagName, MsgCheckConfig* record);
int setMessageTransmitterCheck(const MacAddr& alMac, const char* flagName,
                               const MsgCheckConfig* record);

// Tells that a device has answered (flag 1), or that it was learnt and is to be asked (flag 0),
// which a forced pass does at once. kOk or kFailure.
int setMessageTransmitterCheckFlag(const MacAddr& alMac, const char* flagName, int flag);

// What handlers tell of a device (db/upcalls.h), in terms of the above.
void deviceDescribed(const MacAddr& alMac);
void deviceAnswered(const MacAddr& alMac, AwaitedAnswer answer);
