// The catalogue of the vendor messages: the one table from which encoder, parser, label, log level
// and handler of every type are taken. To add a type: a row in catalogue.cpp, a struct in
// payloads.h, a handler in one of the handler modules.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "wire/vend_fields.h"
#include "wire/vend_msg.h"

struct VendContext;  // vendor/vend_handlers.h

struct VendType {
    uint16_t vendMsgType;
    const char* label;  // nullptr: encoded and parsed, but refused on arrival
    int logLevel;       // of the line with the label
    const char* meaning;
    const char* layout;  // name of the payload struct

    // Appends the payload; false when it is not that of the type or exceeds a capacity.
    bool (*encode)(const VendPayload& payload, const SendContext& context,
                   std::vector<uint8_t>& out);
    // Reads the payload of this declared length; the reader fails when it is cut off or has no
    // room in the decoded form.
    std::unique_ptr<VendPayload> (*parse)(ByteReader& reader, size_t payloadLen);
    int (*handle)(const VendContext& context);
};

// All types, by number.
std::span<const VendType> vendTypes();
// nullptr for an unknown type.
const VendType* findVendType(uint16_t vendMsgType);
