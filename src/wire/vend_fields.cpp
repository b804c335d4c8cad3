#include "wire/vend_fields.h"

#include "base/text.h"

namespace {

Bytes bytesOf(const std::string& text) {
    return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}

}  // namespace

void FieldWriter::number(size_t value, size_t width) {
    for (size_t i = width; i-- > 0;) out_.push_back(static_cast<uint8_t>(value >> (8 * i)));
}

void FieldWriter::bytes(Bytes value) {
    out_.insert(out_.end(), value.begin(), value.end());
}

void FieldWriter::text(const char*, const char*, const std::string& value, size_t capacity) {
    demand(value.size() <= capacity);
    number(value.size(), 2);
    bytes(bytesOf(value));
}

void FieldWriter::optionAndText(const char*, const char*, const char*, uint8_t option,
                                const std::string& value, size_t capacity) {
    demand(value.size() <= capacity);
    if (value.empty() && option == 0) return number(0, 2);
    number(value.size() + 1, 2);
    number(option, 1);
    bytes(bytesOf(value));
}

Bytes FieldReader::takeWithin(size_t length, size_t capacity) {
    if (length > capacity) in_.fail();
    return in_.take(length);
}

// A text ends at its first NUL, because it does so for the functions that get it.
void FieldReader::takeText(std::string& value, size_t length, size_t capacity) {
    const Bytes bytes = takeWithin(length, capacity);
    value = upToNul({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

void FieldReader::text(const char*, const char*, std::string& value, size_t capacity) {
    takeText(value, in_.u16(), capacity);
}

void FieldReader::optionAndText(const char*, const char*, const char*, uint8_t& option,
                                std::string& value, size_t capacity) {
    const size_t length = in_.u16();
    if (length == 0) return;
    option = in_.u8();
    takeText(value, length - 1, capacity);
}
