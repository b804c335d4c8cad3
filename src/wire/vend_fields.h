// Encodes and decodes the payloads of vendor messages. A payload is a struct with
//
//     template <class Fields, class Self>
//     static void describe(Fields& fields, Self& self);
//
// that passes its fields to fields in wire order. FieldWriter and FieldReader have a function for
// each kind of field; the names document the fields. Numbers are big-endian. Texts and data have
// their length in bytes in front, in two bytes, and no terminator.
#pragma once

#include <string>
#include <vector>

#include "base/bytes.h"

// The port by which a message leaves, whose MAC the vendor discovery carries.
struct SendContext {
    const MacAddr& portMac;
};

// Appends a payload to a byte vector. ok() is false if a list, text or data exceeded its capacity.
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
    // between() describes the fields between the length and the data.
    template <typename Between>
    void data(const char*, const char*, const std::vector<uint8_t>& value, size_t capacity,
              Between&& between) {
        demand(value.size() <= capacity);
        number(value.size(), 2);
        between();
        bytes(value);
    }
    // A list with its number of entries in front, in one byte.
    template <typename List, typename Entry>
    void list(const char*, const List& entries, size_t capacity, Entry&& describeEntry) {
        demand(entries.size() <= capacity);
        number(entries.size(), 1);
        for (const auto& entry : entries) describeEntry(*this, entry);
    }
    // A field of 2 bytes, or of 1 byte in entries of old senders (see FieldReader::tellWidth).
    void wide(const char* name, uint16_t value) { u16(name, value); }
    void tellWidth(size_t, size_t) {}
    // An option of one byte and a text, with a length in front that counts both. A length of 0
    // means option 0 and no text.
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

// Reads a payload. The ByteReader fails if bytes are missing or a capacity is exceeded.
class FieldReader {
  public:
    // payloadLen is the length in bytes that the message declares.
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
    // Sets the width of the wide() fields: 2 bytes if the payload behind its first head bytes is a
    // multiple of wideEntry bytes, else 1 byte. Meant: only the length distinguishes the entries of
    // new and old senders, which may be in the same mesh.
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
