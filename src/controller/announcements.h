// What the daemon sends unasked: discoveries when the alarm fires, and a notification after
// changes.
#pragma once

#include "base/clock.h"

struct Announcements {
    bool ntfPending = false;
    Seconds ntfRequestTime = 0;
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

// Multicasts a topology discovery and sends LLDP frames. kOk, or kFailure if the discovery cannot
// be sent.
int sendTopolDisc();
