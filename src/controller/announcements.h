// What the daemon sends on its own: discoveries from the alarm, one notification after changes.
#pragma once

#include "base/clock.h"

struct Announcements {
    bool ntfPending = false;
    Seconds ntfRequestTime = 0;
};

// Sends the first discoveries, installs and arms the discovery alarm, and registers for the
// platform's network-status events. kOk, or kTopolDisabled when the topology capability is off
// (the daemon goes on in either case).
int initMessageHandler();

// Asks for one topology notification; requests within the second before it leaves are one. kOk.
int requestSendTopolNtfMsg();

// Sends the pending notification when it is due. Called on every pass of the main loop. kOk.
int checkUnsentTopolNtfMsg();

// Multicasts a topology discovery, and LLDP frames with it. kOk or kFailure.
int sendTopolDisc();
