// Decoding of received vendor messages, and the table that leads each to its handler.
#pragma once

#include "base/bytes.h"
#include "handlers/vend_context.h"

struct VendHandler {
    uint16_t number;
    const char* label;
    int logLevel;  // of the line with the label
    int (*handle)(const VendContext& context);
};

// nullptr for a message that is refused on arrival.
[[nodiscard]] const VendHandler* findVendHandler(uint16_t number);

// kOk; the pending vendor queries are forgotten.
int initVendMessageHandler();

// Decodes the TLV area of a vendor-specific message and handles it. The handler's result, or
// kFailure when it does not decode.
[[nodiscard]] int parseVendSpecTlvs(const Port& port, const MacAddr& srcMac, uint16_t msgId,
                                    Bytes area);

// Hands a vendor message that came by this path (VendPath) to the handler of its type. The
// handler's result, kFailure for a type without one.
int handleVendSpecMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId, const VendMsg& msg,
                      int path);
