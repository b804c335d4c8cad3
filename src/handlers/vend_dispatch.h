// Decodes received vendor messages and calls their handlers.
#pragma once

#include "base/bytes.h"
#include "handlers/order_permission.h"
#include "handlers/vend_context.h"
#include "net/message_integrity.h"
#include "wire/frame.h"

struct VendHandler {
    uint16_t number;
    const char* label;
    bool once;         // copies are answered as before, and not handled again
    OrderGroup group;  // decides whether it may be obeyed
    int logLevel;      // of the line with the label
    int (*handle)(const VendContext& context);
};

// The handler of the vendor message type number, nullptr if the message is refused on arrival.
[[nodiscard]] const VendHandler* findVendHandler(uint16_t number);

// Forgets the pending vendor queries. kOk.
int initVendMessageHandler();

// Decodes the TLV area of a vendor-specific message and handles it. port received the frame, whose
// headers are hdr. Returns the handler's result, kFailure if the area cannot be decoded, or
// kDuplicate if the proof is not good enough for the message.
[[nodiscard]] int parseVendSpecTlvs(const Port& port, const FrameHdr& hdr, Bytes area,
                                    const Proof& proof);

// Hands a vendor message that arrived by path (VendPath) to the handler of its type, unless it is
// an order that refuseOrder refuses. Returns the handler's or refuseOrder's result, kFailure for a
// type without a handler, or kDuplicate for a copy of a message of the last 5 seconds, which was
// answered as before.
int handleVendSpecMsg(const Port& port, const FrameHdr& hdr, const VendMsg& msg, int path);
