// Reader and writer for all bytes that come from outside or go there. Both are big-endian and fail
// closed: once an access would leave the buffer, ok() is false, reads return zero, and nothing more
// is read or written.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

#include "base/mac_addr.h"

using Bytes = std::span<const uint8_t>;

class ByteReader {
  public:
    // The bytes must outlive the reader.
    explicit ByteReader(Bytes bytes) : bytes_(bytes) {}

    bool ok() const { return ok_; }
    size_t position() const { return pos_; }  // bytes read so far
    size_t left() const { return bytes_.size() - pos_; }

    uint8_t u8() { return static_cast<uint8_t>(number(1)); }
    uint16_t u16() { return static_cast<uint16_t>(number(2)); }
    uint32_t u32() { return number(4); }
    MacAddr mac() {
        const Bytes raw = take(6);
        return raw.size() == 6 ? MacAddr(raw.data()) : MacAddr{};
    }
    // The next n bytes; empty, and the reader has failed, if fewer are left.
    Bytes take(size_t n) {
        if (!ok_ || n > left()) {
            ok_ = false;
            return {};
        }
        const Bytes part = bytes_.subspan(pos_, n);
        pos_ += n;
        return part;
    }
    void skip(size_t n) { (void)take(n); }
    // For a caller that found an impossible value: the reader has failed.
    void fail() { ok_ = false; }

  private:
    uint32_t number(size_t width) {
        uint32_t value = 0;
        for (const uint8_t byte : take(width)) value = value << 8 | byte;
        return value;
    }

    Bytes bytes_;
    size_t pos_ = 0;
    bool ok_ = true;
};

class ByteWriter {
  public:
    // The buffer must outlive the writer.
    explicit ByteWriter(std::span<uint8_t> out) : out_(out) {}

    bool ok() const { return ok_; }
    size_t position() const { return pos_; }  // bytes written or skipped so far

    // Numbers are cut to their low 8, 16 or 32 bits.
    ByteWriter& u8(uint32_t v) { return number(v, 1); }
    ByteWriter& u16(uint32_t v) { return number(v, 2); }
    ByteWriter& u32(uint32_t v) { return number(v, 4); }
    ByteWriter& mac(const MacAddr& v) { return bytes(v.b); }
    ByteWriter& bytes(Bytes v) {
        if (uint8_t* at = room(v.size()); at != nullptr && !v.empty()) {
            std::memcpy(at, v.data(), v.size());
        }
        return *this;
    }
    // Leaves n bytes as they are.
    ByteWriter& skip(size_t n) {
        (void)room(n);
        return *this;
    }

  private:
    uint8_t* room(size_t n) {
        if (!ok_ || n > out_.size() - pos_) {
            ok_ = false;
            return nullptr;
        }
        uint8_t* at = out_.data() + pos_;
        pos_ += n;
        return at;
    }
    ByteWriter& number(uint32_t v, size_t width) {
        if (uint8_t* at = room(width)) {
            for (size_t i = 0; i < width; i++)
                at[i] = static_cast<uint8_t>(v >> (8 * (width - 1 - i)));
        }
        return *this;
    }

    std::span<uint8_t> out_;
    size_t pos_ = 0;
    bool ok_ = true;
};

// Unpacks count addresses of 6 bytes each; empty if packed is nullptr.
inline std::vector<MacAddr> unpackMacs(const uint8_t* packed, size_t count) {
    std::vector<MacAddr> macs;
    if (packed == nullptr) return macs;
    ByteReader reader({packed, count * 6});
    macs.reserve(count);
    for (size_t i = 0; i < count; i++) macs.push_back(reader.mac());
    return macs;
}
