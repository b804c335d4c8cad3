// The text of the data-model files, built by hand: the front end reads this exact layout.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "base/mac_addr.h"

// One member per line, a tab per level, a comma before each member but the first. Lists of objects
// are members of their parent, named by a prefix and a number from 1, and never arrays, so that
// the shape is the same for none, one and many.
class JsonWriter {
  public:
    explicit JsonWriter(size_t expectedSize) { out_.reserve(expectedSize); }

    void begin();  // the outermost object
    void beginObject(std::string_view key);
    void beginObject(std::string_view prefix, size_t number);
    void end();  // closes the innermost object

    // A value stands in the given column behind its key's opening quote and colon, one blank
    // behind the colon where none is given.
    void text(std::string_view key, std::string_view value, size_t column = 0);
    void mac(std::string_view key, const MacAddr& value);
    void number(std::string_view key, int64_t value, size_t column = 0);
    void quotedNumber(std::string_view key, int64_t value);
    void boolean(std::string_view key, bool value);
    void numbers(std::string_view key, std::span<const uint8_t> values, size_t column = 0);

    // What has no common form: a member's value is whatever is appended next.
    void key(std::string_view key, size_t column = 0);
    JsonWriter& append(std::string_view part) {
        out_.append(part);
        return *this;
    }
    JsonWriter& append(int64_t number);
    JsonWriter& appendQuoted(std::string_view value);
    JsonWriter& append(const MacAddr& mac);

    std::string tabs() const { return std::string(depth_, '\t'); }  // the indentation of a member
    std::string take() { return std::move(out_); }

  private:
    void newMember();

    std::string out_;
    size_t depth_ = 0;
    bool first_ = true;  // the next member is the first of its object
};

// Writes a file in the data-model folder in one go, over what stood there. A file that cannot be
// opened is left as it is, without a word.
void writeDataModelFile(const char* name, std::string_view text);
