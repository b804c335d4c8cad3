// Encoder and parser of every payload layout, by message type.
#pragma once

#include <memory>

#include "core/bytes.h"
#include "vendor/vend_msg.h"

struct PayloadCodec {
    uint16_t vendMsgType;
    // Writes the payload of a message that leaves by the port with this MAC; false when the
    // payload is not that of the type.
    bool (*encode)(const VendPayload& payload, const MacAddr& portMac, ByteWriter& writer);
    // Bytes that encode() writes.
    size_t (*size)(const VendPayload& payload);
    // Reads the payload; nothing when it is cut off or does not fit its decoded form.
    std::unique_ptr<VendPayload> (*parse)(ByteReader& reader);
};

// nullptr for an unknown type.
const PayloadCodec* findPayloadCodec(uint16_t vendMsgType);
