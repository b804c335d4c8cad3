// From a received message to its handler: pairs responses with queries, parses the TLVs, drops
// echoes and duplicates, and relays the multicasts that are relayed.
#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "net/fragment_store.h"
#include "net/ports.h"

// Handles the TLV area of an unfragmented message. The result of its handler; kFailure when it
// was dropped, kDuplicate when it was generated or received before.
[[nodiscard]] int parse1905Msg(Port& port, const FrameHdr& hdr, Bytes area);

// Handles a message of which all fragments have arrived. The result of its handler, kOk when it
// answers no query, kFailure when it does not parse.
[[nodiscard]] int parse1905FragMsg(Port& port, const FragCmdu& cmdu);

// kOk for a new message, which is remembered, kDuplicate for one seen within 5 seconds. mayRelay
// becomes false when so many messages came at once that the memory no longer tells what was seen:
// relaying could then go round in circles.
[[nodiscard]] int checkMcastMsgReceived(const MacAddr& alMac, uint16_t msgType, uint16_t msgId,
                                        bool& mayRelay);
