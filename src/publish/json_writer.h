// The text of the data-model files. No JSON library builds it, because the front end depends on the
// exact layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "base/mac_addr.h"

// Writes one member per line, indented by one tab per level. A list of objects is no array: its
// objects are members of the parent, named by a prefix and a number from 1, so that the layout does
// not depend on their number.
class JsonWriter {
  public:
    // expectedSize is the number of bytes to reserve.
    explicit JsonWriter(size_t expectedSize) { out_.reserve(expectedSize); }

    void begin();  // opens the outermost object
    void beginObject(std::string_view key);
    void beginObject(std::string_view prefix, size_t number);
    void end();  // closes the innermost object

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
    JsonWriter& append(std::string_view part) {
        out_.append(part);
        return *this;
    }
    JsonWriter& append(int64_t number);
    JsonWriter& appendQuoted(std::string_view value);
    JsonWriter& append(const MacAddr& mac);

    std::string tabs() const { return std::string(depth_, '\t'); }  // the indentation of a member
    std::string take() { return std::move(out_); }                  // the whole text

  private:
    void newMember();

    std::string out_;
    size_t depth_ = 0;
    bool first_ = true;  // the next member is the first of its object
};
