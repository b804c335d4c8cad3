#include "publish/json_writer.h"

#include <array>
#include <charconv>

void JsonWriter::newMember() {
    static constexpr std::string_view kStart = ",\n\t\t\t\t\t\t\t\t";
    const size_t skipped = first_ ? 1 : 0;
    out_.append(kStart.substr(skipped, 2 - skipped + depth_));
    if (depth_ > kStart.size() - 2) out_.append(depth_ - (kStart.size() - 2), '\t');
    first_ = false;
}

void JsonWriter::key(std::string_view key, size_t column) {
    newMember();
    out_.push_back('"');
    out_.append(key).append("\": ");
    if (column > key.size() + 1) out_.append(column - key.size() - 1, ' ');
}

void JsonWriter::begin() {
    out_.push_back('{');
    depth_++;
    first_ = true;
}

void JsonWriter::beginObject(std::string_view name) {
    key(name);
    begin();
}

void JsonWriter::beginObject(std::string_view prefix, size_t number) {
    newMember();
    out_.push_back('"');
    append(prefix).append(static_cast<int64_t>(number)).append("\": ");
    begin();
}

void JsonWriter::end() {
    depth_--;
    out_.push_back('\n');
    out_.append(depth_, '\t');
    out_.push_back('}');
    first_ = false;
}

void JsonWriter::text(std::string_view name, std::string_view value, size_t column) {
    key(name, column);
    appendQuoted(value);
}

void JsonWriter::mac(std::string_view name, const MacAddr& value) {
    key(name);
    append(value);
}

void JsonWriter::number(std::string_view name, int64_t value, size_t column) {
    key(name, column);
    append(value);
}

void JsonWriter::quotedNumber(std::string_view name, int64_t value) {
    key(name);
    append("\"").append(value).append("\"");
}

void JsonWriter::boolean(std::string_view name, bool value) {
    key(name);
    append(value ? "true" : "false");
}

void JsonWriter::numbers(std::string_view name, std::span<const uint8_t> values, size_t column) {
    key(name, column);
    append("[");
    std::string_view separator;
    for (const uint8_t value : values) {
        append(separator).append(value);
        separator = ", ";
    }
    append("]");
}

JsonWriter& JsonWriter::append(int64_t number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    out_.append(digits, end);
    return *this;
}

// Meant: texts are written as they are stored, without escaping. Those from outside are stored
// without quotes (plainText), but a quote in a version of vm1905_Version or in the password, which
// would be another one without it, makes the file invalid JSON.
JsonWriter& JsonWriter::appendQuoted(std::string_view value) {
    out_.push_back('"');
    out_.append(value);
    out_.push_back('"');
    return *this;
}

JsonWriter& JsonWriter::append(const MacAddr& mac) {
    static constexpr char kHex[] = "0123456789abcdef";
    std::array<char, 19> text;
    text.fill(':');
    text.front() = text.back() = '"';
    for (size_t i = 0; i < mac.b.size(); i++) {
        text[1 + 3 * i] = kHex[mac.b[i] >> 4];
        text[2 + 3 * i] = kHex[mac.b[i] & 15];
    }
    return append({text.data(), text.size()});
}
