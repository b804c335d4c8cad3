#include "vendor/payload_fields.h"

#include <algorithm>
#include <utility>

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

// A text ends at its first NUL, as it does for whoever it is handed to.
void FieldReader::takeText(std::string& value, size_t length, size_t capacity) {
    const Bytes bytes = takeWithin(length, capacity);
    value.assign(bytes.begin(), std::find(bytes.begin(), bytes.end(), 0));
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

void FieldPrinter::add(const char* name, const char* width, const char* note) {
    rows_.push_back({prefix_ + name, width, note});
}

void FieldPrinter::addBytes(const char* name, const char* countName, size_t capacity) {
    add(name, countName, ("bytes, at most " + std::to_string(capacity)).c_str());
}

void FieldPrinter::text(const char* countName, const char* name, const std::string&,
                        size_t capacity) {
    add(countName, "2");
    add(name, countName, ("text, at most " + std::to_string(capacity) + " bytes").c_str());
}

void FieldPrinter::beginList(const char* countName, size_t capacity) {
    add(countName, "1", ("number of entries, at most " + std::to_string(capacity)).c_str());
    prefix_ += "each: ";
}

void FieldPrinter::endList() {
    prefix_.resize(prefix_.size() - sizeof "each: " + 1);
}

void FieldPrinter::tellWidth(size_t head, size_t wideEntry) {
    const std::string wide = std::to_string(wideEntry);
    add("", "",
        ("entries are of " + wide + " bytes when the payload is " + std::to_string(head) +
         " more than a multiple of " + wide + ", else of the old form")
            .c_str());
}

void FieldPrinter::optionAndText(const char* countName, const char* optionName, const char* name,
                                 uint8_t, const std::string&, size_t capacity) {
    add(countName, "2", "0 ends the payload");
    add(optionName, "1");
    add(name, (std::string(countName) + " - 1").c_str(),
        ("text, at most " + std::to_string(capacity) + " bytes").c_str());
}
