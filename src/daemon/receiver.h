// Receives frames: validates, reassembles, drops echoes and duplicates, and dispatches to the
// message handlers. Relays what is to be relayed.
#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "net/fragment_store.h"
#include "net/ports.h"

// kOk; nothing is to be prepared.
int initMessageReceiver();

// Reads and handles one frame of a port. kOk, or kFailure when it was dropped.
int recv1905Msg(Port& port);

// Handles the TLV area of an unfragmented message. The result of its handler; kFailure when it
// was dropped, kDuplicate when it was generated or received before.
int parse1905Msg(Port& port, const FrameHdr& hdr, Bytes area);

// Handles a message of which all fragments have arrived. The result of its handler, kOk when it
// answers no query, kFailure when it does not parse.
int parse1905FragMsg(Port& port, const FragCmdu& cmdu);

// kOk for a new message, which is remembered, kDuplicate for one seen within 5 seconds. mayRelay
// becomes false when so many messages came at once that the memory no longer tells what was seen:
// relaying could then go round in circles.
int checkMcastMsgReceived(const MacAddr& alMac, uint16_t msgType, uint16_t msgId, bool& mayRelay);

// A filter for repeated messages of one source. kOk to accept, kFailure for a repeat.
int checkparse1905MsgRepeat(const MacAddr& srcMac, uint16_t msgType, uint16_t msgId);
