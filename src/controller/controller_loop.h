// The periodic controller loop: everything that happens on a schedule. The periods are in
// orders/schedule.h.
#pragma once

#include "base/clock.h"
#include "db/records.h"
#include "db/upcalls.h"

// When the loop last ran each of its parts.
struct ControllerLoop {
    Seconds lastPass = 0;
    Seconds lastQueries = 0;
    Seconds lastMeshMacs = 0;
    Seconds lastIp = 0;
};

// One pass at the time now(): runs the checks that are due, queries the devices that are due for
// their configuration and power states, and publishes the root AP's addresses. With force 1 the
// last two do not wait for their time. Called on every pass of the main loop.
void MessageTransmitterLoop(Seconds time, int force);

// Notes that a device has answered (flag 1), or that it must be queried (flag 0), which a forced
// pass does at once. flagName is "flag_powerstate" or "flag_deviceinfo". kOk, or kFailure for
// another flag, an unknown or missing name, or an unknown device.
int setMessageTransmitterCheckFlag(const MacAddr& alMac, const char* flagName, int flag);

// The upcalls of the handlers (db/upcalls.h): set the flags of a device that has described itself,
// or has sent an awaited answer.
void deviceDescribed(const MacAddr& alMac);
void deviceAnswered(const MacAddr& alMac, AwaitedAnswer answer);

// The daemon itself does not call the following two.

// Read or write the record of a device that flagName selects, as above. kOk, or kFailure for an
// unknown device, an unknown or missing name, or a missing record.
int getMessageTransmitterCheck(const MacAddr& alMac, const char* flagName, MsgCheckConfig* record);
int setMessageTransmitterCheck(const MacAddr& alMac, const char* flagName,
                               const MsgCheckConfig* record);
