// What the daemon sends unasked: discoveries when the alarm fires, and a notification after
// changes.
#pragma once

#include <cstddef>

#include "base/clock.h"

struct Announcements {
    bool ntfPending = false;
    Seconds ntfRequestTime = 0;
    Seconds linkReturnTime = 0;  // when a link has returned, while repetitions are due
    size_t discRepeats = 0;      // so far
};

// Sends the first discoveries, sets the discovery alarm, and registers for the platform's
// network-status events. kOk, or kTopolDisabled if the topology capability is off, with which the
// daemon runs too.
int initMessageHandler();

// Requests a topology notification. It is delayed by a second or two, and later requests in that
// time add nothing. kOk.
int requestSendTopolNtfMsg();

// Sends the requested notification if it is due. Called on every pass of the main loop. kOk.
int checkUnsentTopolNtfMsg();

// Sends the discoveries at once, because the link of a port has returned, and has them repeated:
// the other end of the link may not be ready yet, and a spanning tree may hold up messages.
void announceReturnedLink();

// Repeats these discoveries if they are due. Called on every pass of the main loop. kOk.
int checkDiscRepeat();

// Multicasts a topology discovery and sends LLDP frames. kOk, or kFailure if the discovery cannot
// be sent.
int sendTopolDisc();
