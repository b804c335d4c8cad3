#include "wsc/attributes.h"

#include <cstdio>

ByteWriter& WscWriter::head(WscAttr type, size_t length) {
    return writer_.u16(type).u16(static_cast<uint32_t>(length));
}

WscWriter& WscWriter::u8(WscAttr type, uint32_t value) {
    head(type, 1).u8(value);
    return *this;
}

WscWriter& WscWriter::u16(WscAttr type, uint32_t value) {
    head(type, 2).u16(value);
    return *this;
}

WscWriter& WscWriter::u32(WscAttr type, uint32_t value) {
    head(type, 4).u32(value);
    return *this;
}

WscWriter& WscWriter::bytes(WscAttr type, Bytes value) {
    head(type, value.size()).bytes(value);
    return *this;
}

// Calls take(type, value) for each attribute.
template <typename Take>
void WscReader::forEach(Take take) const {
    ByteReader reader(message_);
    while (reader.left() > 0) {
        const auto type = static_cast<WscAttr>(reader.u16());
        take(type, reader.take(reader.u16()));
    }
}

WscReader::WscReader(Bytes message) : message_(message) {
    ByteReader reader(message);
    while (reader.ok() && reader.left() > 0) {
        reader.skip(2);
        reader.skip(reader.u16());
    }
    if (reader.ok()) return;
    flaw_ = "its attributes do not end with it";
    message_ = {};
}

Bytes WscReader::flawed(WscAttr type, const char* what) {
    char text[80];
    (void)snprintf(text, sizeof text, "attribute 0x%04x %s", type, what);
    if (ok()) flaw_ = text;
    message_ = {};
    return {};
}

Bytes WscReader::atMost(WscAttr type, size_t size) {
    Bytes found;
    unsigned num = 0;
    forEach([&](WscAttr each, Bytes value) {
        if (each != type) return;
        found = value;
        num++;
    });
    if (num == 0) return flawed(type, "is missing");
    if (num > 1) return flawed(type, "is repeated");
    return found.size() <= size ? found : flawed(type, "is too long");
}

Bytes WscReader::exactly(WscAttr type, size_t size) {
    const Bytes value = atMost(type, size);
    return !ok() || value.size() == size ? value : flawed(type, "is too short");
}

bool WscReader::has(WscAttr type) const {
    bool found = false;
    forEach([&](WscAttr each, Bytes) { found = found || each == type; });
    return found;
}

std::optional<Bytes> WscReader::vendorExtension(std::span<const uint8_t, 3> vendor) const {
    std::optional<Bytes> found;
    forEach([&](WscAttr type, Bytes value) {
        if (type == kAttrVendorExtension && value.size() >= 3 && !found &&
            std::ranges::equal(value.first(3), vendor)) {
            found = value.subspan(3);
        }
    });
    return found;
}

Bytes WscReader::before(WscAttr last, size_t size) {
    const Bytes value = exactly(last, size);
    if (!ok()) return {};
    if (value.data() + value.size() != message_.data() + message_.size()) {
        return flawed(last, "is not the last one");
    }
    return message_.first(message_.size() - size - kWscAttrHeader);
}
