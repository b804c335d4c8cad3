// Receives frames: checks their headers and reassembles fragmented messages. Complete messages go
// to message_dispatch.h.
#pragma once

#include <cstdint>
#include <list>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "net/ports.h"

// A message that was received before.
struct RepeatEntry {
    MacAddr srcMac;
    uint16_t msgType = 0;
    uint16_t msgId = 0;
    Seconds time = 0;
};

struct Receiver {
    std::list<RepeatEntry> ParseListHsad;
};

// Needs no preparation. kOk.
int initMessageReceiver();

// Reads one frame from a port and handles it. kOk, or kFailure if it was dropped.
int recv1905Msg(Port& port);

// Reads the waiting frames of a port, at most eight, so that other ports have their turn, and
// handles them in order. Returns their number.
unsigned recv1905Msgs(Port& port);

// The same as recv1905Msg for an LLDP frame.
int recvLldpMsg(Port& port);

// The daemon itself does not call this one.

// Filters repeated messages of one source, by type or by type and identifier. kOk to accept the
// message, kFailure for a repetition within 2 seconds.
int checkparse1905MsgRepeat(const MacAddr& srcMac, uint16_t msgType, uint16_t msgId);
