// Receives frames: validates their headers and reassembles fragmented messages. daemon/
// message_dispatch.h handles what is complete.
#pragma once

#include <cstdint>
#include <list>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "net/ports.h"

// A message that was heard before.
struct RepeatEntry {
    MacAddr srcMac;
    uint16_t msgType = 0;
    uint16_t msgId = 0;
    Seconds time = 0;
};

struct Receiver {
    std::list<RepeatEntry> ParseListHsad;
};

// kOk; nothing is to be prepared.
int initMessageReceiver();

// Reads and handles one frame of a port. kOk, or kFailure when it was dropped.
int recv1905Msg(Port& port);

// A filter for repeated messages of one source. kOk to accept, kFailure for a repeat.
int checkparse1905MsgRepeat(const MacAddr& srcMac, uint16_t msgType, uint16_t msgId);
