// How the payload of a vendor message is described. A layout is a struct with
//
//     template <class Fields, class Self>
//     static void describe(Fields& fields, Self& self);
//
// that names its fields in wire order. The same description writes the payload and reads it, and
// documents it: hence the names. Numbers are big-endian; texts and data carry their length in front
// and no terminator.
#pragma once

#include <string>
#include <vector>

#include "base/bytes.h"

// Where a message leaves: the vendor discovery carries the MAC of that port.
struct SendContext {
    const MacAddr& portMac;
};

// Appends a payload to a byte vector. ok() is false when a list or text exceeds its capacity.
class FieldWriter {
  public:
    FieldWriter(std::vector<uint8_t>& out, const SendContext& context)
        : out_(out), context_(context) {}

    bool ok() const { return ok_; }

    void u8(const char*, uint32_t value) { number(value, 1); }
    void u16(const char*, uint32_t value) { number(value, 2); }
    void u32(const char*, uint32_t value) { number(value, 4); }
    void mac(const char*, const MacAddr& value) { bytes(value.b); }
    void portMac(const char*, const MacAddr&) { bytes(context_.portMac.b); }

    void text(const char* countName, const char* name, const std::string& value, size_t capacity);
    // between() describes what stands between the length and the data.
    template <typename Between>
    void data(const char*, const char*, const std::vector<uint8_t>& value, size_t capacity,
              Between&& between) {
        demand(value.size() <= capacity);
        number(value.size(), 2);
        between();
        bytes(value);
    }
    // A list with its number of entries in one byte.
    template <typename List, typename Entry>
    void list(const char*, const List& entries, size_t capacity, Entry&& describeEntry) {
        demand(entries.size() <= capacity);
        number(entries.size(), 1);
        for (const auto& entry : entries) describeEntry(*this, entry);
    }
    // A field of 2 bytes, of 1 in the entries of old senders.
    void wide(const char* name, uint16_t value) { u16(name, value); }
    void tellWidth(size_t, size_t) {}
    // A length that counts one byte more than the text: the option in front of the text.
    void optionAndText(const char* countName, const char* optionName, const char* name,
                       uint8_t option, const std::string& value, size_t capacity);

  private:
    void demand(bool holds) { ok_ = ok_ && holds; }
    void number(size_t value, size_t width);
    void bytes(Bytes value);

    std::vector<uint8_t>& out_;
    const SendContext& context_;
    bool ok_ = true;
};

// Reads a payload. The reader fails when bytes are missing or the decoded form has no room.
class FieldReader {
  public:
    // payloadLen is the length that the message declares.
    FieldReader(ByteReader& in, size_t payloadLen) : in_(in), payloadLen_(payloadLen) {}

    void u8(const char*, uint8_t& value) { value = in_.u8(); }
    void u16(const char*, uint16_t& value) { value = in_.u16(); }
    void u32(const char*, uint32_t& value) { value = in_.u32(); }
    void mac(const char*, MacAddr& value) { value = in_.mac(); }
    void portMac(const char*, MacAddr& value) { value = in_.mac(); }

    void text(const char* countName, const char* name, std::string& value, size_t capacity);
    template <typename Between>
    void data(const char*, const char*, std::vector<uint8_t>& value, size_t capacity,
              Between&& between) {
        const size_t length = in_.u16();
        between();
        const Bytes bytes = takeWithin(length, capacity);
        value.assign(bytes.begin(), bytes.end());
    }
    template <typename List, typename Entry>
    void list(const char*, List& entries, size_t capacity, Entry&& describeEntry) {
        const size_t num = in_.u8();
        if (num > capacity) in_.fail();
        for (size_t i = 0; i < num && in_.ok(); i++) describeEntry(*this, entries.emplace_back());
    }
    void wide(const char*, uint16_t& value) { value = narrow_ ? in_.u8() : in_.u16(); }
    // The width of the entries follows from the length of the payload alone, which is meant: old
    // and new senders live side by side.
    void tellWidth(size_t head, size_t wideEntry) {
        narrow_ = payloadLen_ < head || (payloadLen_ - head) % wideEntry != 0;
    }
    void optionAndText(const char* countName, const char* optionName, const char* name,
                       uint8_t& option, std::string& value, size_t capacity);

  private:
    Bytes takeWithin(size_t length, size_t capacity);
    void takeText(std::string& value, size_t length, size_t capacity);

    ByteReader& in_;
    size_t payloadLen_;
    bool narrow_ = false;
};
