// The text of the data-model files. No JSON library builds it, because the front end depends on the
// exact layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "base/mac_addr.h"

// Writes one member per line, indented by one tab per level. A list of objects is no array: its
// objects are members of the parent, named by a prefix and a number from 1, so that the layout does
// not depend on their number.
class JsonWriter {
  public:
    // expectedSize is the number of bytes to reserve.
    explicit JsonWriter(size_t expectedSize) : out_(expectedSize, '\0') {}

    void begin();  // opens the outermost object
    void beginObject(std::string_view key);
    void beginObject(std::string_view prefix, size_t number);
    void end();  // closes the innermost object
    // Leaves the innermost object open, so that its text can be cut here and continued later.
    void leave() { depth_--; }
    void reenter() {
        depth_++;
        first_ = false;
    }

    // Write a member. Blanks in front of the value make up for a key that, with its closing quote,
    // is shorter than column characters.
    void text(std::string_view key, std::string_view value, size_t column = 0);
    void mac(std::string_view key, const MacAddr& value);
    void number(std::string_view key, int64_t value, size_t column = 0);
    void quotedNumber(std::string_view key, int64_t value);
    void boolean(std::string_view key, bool value);
    void numbers(std::string_view key, std::span<const uint8_t> values, size_t column = 0);

    // Writes only the key of a member, for values of another form: append them next.
    void key(std::string_view key, size_t column = 0);
    JsonWriter& append(std::string_view part);
    JsonWriter& append(int64_t number);
    JsonWriter& appendQuoted(std::string_view value);
    JsonWriter& append(const MacAddr& mac);

    std::string tabs() const { return std::string(depth_, '\t'); }  // the indentation of a member
    size_t size() const { return size_; }                           // of the text so far
    std::string cut(size_t start);  // takes away the text from there on
    std::string take() { return cut(0); }

  private:
    // Start a member or its key and return where to go on, with room for that many bytes more.
    char* startKey(size_t room);
    char* startMember(std::string_view key, size_t column, size_t room);
    char* roomFor(size_t bytes) {
        if (out_.size() - size_ < bytes) enlarge(bytes);
        return out_.data() + size_;
    }
    void enlarge(size_t bytes);
    void finish(const char* end) { size_ = static_cast<size_t>(end - out_.data()); }

    std::string out_;  // longer than the text: a member is written with one check for room
    size_t size_ = 0;
    size_t depth_ = 0;
    bool first_ = true;  // the next member is the first of its object
};
