#include "publish/json_writer.h"

#include <algorithm>
#include <charconv>

namespace {

constexpr size_t kMacSize = 19;
constexpr size_t kMostDigits = 20;
constexpr size_t kLevels = 8;  // that are usual

inline char* put(char* to, std::string_view part) {
    return std::copy(part.begin(), part.end(), to);
}

char* put(char* to, int64_t number) {
    return std::to_chars(to, to + kMostDigits, number).ptr;
}

char* put(char* to, const MacAddr& mac) {
    static constexpr char kHex[] = "0123456789abcdef";
    char separator = '"';
    for (const uint8_t byte : mac.b) {
        *to++ = separator;
        *to++ = kHex[byte >> 4];
        *to++ = kHex[byte & 15];
        separator = ':';
    }
    *to++ = '"';
    return to;
}

char* putQuoted(char* to, std::string_view value) {
    *to++ = '"';
    to = put(to, value);
    *to++ = '"';
    return to;
}

// Writes at least kLevels tabs, because a constant number takes one instruction; what follows
// overwrites those in excess.
inline char* putTabs(char* to, size_t number) {
    std::fill_n(to, kLevels, '\t');
    if (number > kLevels) std::fill_n(to, number, '\t');
    return to + number;
}

}  // namespace

void JsonWriter::enlarge(size_t bytes) {
    out_.resize(std::max(2 * out_.size(), size_ + bytes));
}

inline char* JsonWriter::startKey(size_t room) {
    char* to = roomFor(kLevels + depth_ + 3 + room);
    if (!first_) *to++ = ',';
    first_ = false;
    *to++ = '\n';
    to = putTabs(to, depth_);
    *to++ = '"';
    return to;
}

inline char* JsonWriter::startMember(std::string_view key, size_t column, size_t room) {
    char* to = put(startKey(key.size() + 3 + column + room), key);
    to = put(to, "\": ");
    if (column > key.size() + 1) to = std::fill_n(to, column - key.size() - 1, ' ');
    return to;
}

void JsonWriter::key(std::string_view key, size_t column) {
    finish(startMember(key, column, 0));
}

void JsonWriter::begin() {
    append("{");
    depth_++;
    first_ = true;
}

void JsonWriter::beginObject(std::string_view name) {
    key(name);
    begin();
}

void JsonWriter::beginObject(std::string_view prefix, size_t number) {
    char* to = put(startKey(prefix.size() + kMostDigits + 3), prefix);
    finish(put(put(to, static_cast<int64_t>(number)), "\": "));
    begin();
}

void JsonWriter::end() {
    depth_--;
    char* to = roomFor(kLevels + depth_ + 2);
    *to++ = '\n';
    to = putTabs(to, depth_);
    *to++ = '}';
    finish(to);
    first_ = false;
}

// Meant: texts are written as they are stored, without escaping. Those from outside are stored
// without quotes (plainText), but a quote in a version of vm1905_Version or in the password, which
// would be another one without it, makes the file invalid JSON.
void JsonWriter::text(std::string_view name, std::string_view value, size_t column) {
    finish(putQuoted(startMember(name, column, value.size() + 2), value));
}

void JsonWriter::mac(std::string_view name, const MacAddr& value) {
    finish(put(startMember(name, 0, kMacSize), value));
}

void JsonWriter::number(std::string_view name, int64_t value, size_t column) {
    finish(put(startMember(name, column, kMostDigits), value));
}

void JsonWriter::quotedNumber(std::string_view name, int64_t value) {
    char* to = startMember(name, 0, kMostDigits + 2);
    *to++ = '"';
    to = put(to, value);
    *to++ = '"';
    finish(to);
}

void JsonWriter::boolean(std::string_view name, bool value) {
    finish(put(startMember(name, 0, 5), value ? "true" : "false"));
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

JsonWriter& JsonWriter::append(std::string_view part) {
    finish(put(roomFor(part.size()), part));
    return *this;
}

JsonWriter& JsonWriter::append(int64_t number) {
    finish(put(roomFor(kMostDigits), number));
    return *this;
}

JsonWriter& JsonWriter::appendQuoted(std::string_view value) {
    finish(putQuoted(roomFor(value.size() + 2), value));
    return *this;
}

JsonWriter& JsonWriter::append(const MacAddr& mac) {
    finish(put(roomFor(kMacSize), mac));
    return *this;
}

std::string JsonWriter::cut(size_t start) {
    std::string text(out_, start, size_ - start);
    size_ = start;
    return text;
}
