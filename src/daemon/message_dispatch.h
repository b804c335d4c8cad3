// The way of a received message to its handler: matches responses with queries, parses the TLVs,
// drops own messages and duplicates, and relays multicasts.
#pragma once

#include <cstdint>

#include "base/bytes.h"
#include "db/records.h"
#include "net/fragment_store.h"
#include "net/ports.h"

struct MessageDispatch {
    DevTopol resp;  // the topology response in work; its memory serves all of them
};

// Handles the TLV area of an unfragmented message. Returns the result of its handler, kFailure if
// it was dropped, or kDuplicate if it was sent or received before, or refused for want of a right
// MIC (net/message_integrity.h).
[[nodiscard]] int parse1905Msg(Port& port, const FrameHdr& hdr, Bytes area);

// Handles a message whose fragments have all arrived; hdr is that of the last one. Returns the
// result of its handler, kOk if it answers no query, kDuplicate if its source has sent too much, or
// kFailure if it cannot be parsed.
[[nodiscard]] int parse1905FragMsg(Port& port, const FrameHdr& hdr, const FragCmdu& cmdu);

// Standard mode: relays a multicast that this device does not understand, or a fragment of it, once
// if its relay indicator is set. kOk, or kDuplicate if it was received before, or its source has
// sent too much.
int relayUnread(const Port& port, const FrameHdr& hdr, Bytes area);

// Handles the TLV area of an LLDP frame. kOk, or kFailure if it is malformed or does not identify
// its sender by MAC addresses.
int parseLldpMsg(const Port& port, Bytes area);

// Remembers a multicast of the device alMac. kOk if it is new, kDuplicate if it was seen in the
// last 5 seconds.
[[nodiscard]] int checkMcastMsgReceived(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);
