// Decoding and dispatch of received vendor messages, and what their handlers share.
#pragma once

#include "base/bytes.h"
#include "net/ports.h"
#include "wire/vend_msg.h"

// Where a vendor message came from.
enum VendPath : int { kVendPathCommand = 25, kVendPathNetwork = 255 };

// A vendor message on its way to its handler.
struct VendContext {
    const Port& port;
    const MacAddr& srcMac;  // of the frame
    uint16_t msgId;
    VendMsg& msg;
    int path;  // VendPath

    // The decoded form; the catalogue pairs it with the handler.
    template <typename Payload>
    const Payload& as() const {
        return static_cast<const Payload&>(*msg.payload);
    }
};

// kOk; the pending vendor queries are forgotten.
int initVendMessageHandler();

// Decodes the TLV area of a vendor-specific message and handles it. The handler's result, or
// kFailure when it does not decode.
int parseVendSpecTlvs(const Port& port, const MacAddr& srcMac, uint16_t msgId, Bytes area);

// Hands a vendor message that came by this path (VendPath) to the handler of its type. The
// handler's result, kFailure for a type without one.
int handleVendSpecMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId, VendMsg& msg,
                      int path);
