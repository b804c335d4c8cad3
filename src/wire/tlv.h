// A TLV in memory, its wire forms, and the iteration over the TLVs of a received message.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <utility>
#include <vector>

#include "base/bytes.h"

inline constexpr size_t k1905TlvHeaderLen = 3;  // type, big-endian length
inline constexpr size_t kLldpTlvHeaderLen = 2;  // 7 bits type, 9 bits length
inline constexpr size_t kMaxTlvLength = 0xFFFF;
inline constexpr size_t kMaxSentTlvSize = 1400;  // header included; a TLV is never split
inline constexpr size_t kMaxSentTlvLength = kMaxSentTlvSize - k1905TlvHeaderLen;

// A byte array whose size is fixed at construction, zero at first. Small ones need no allocation:
// most messages have many small TLVs, and allocating took half the time of building a message.
class TlvValue {
  public:
    TlvValue() = default;
    explicit TlvValue(size_t size)
        : size_(size), heap_(size > kInPlace ? std::make_unique<uint8_t[]>(size) : nullptr) {}
    explicit TlvValue(Bytes bytes) : TlvValue(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), data());
    }
    TlvValue(TlvValue&& other) noexcept { *this = std::move(other); }
    TlvValue& operator=(TlvValue&& other) noexcept {
        size_ = std::exchange(other.size_, 0);
        heap_ = std::move(other.heap_);
        inPlace_ = other.inPlace_;
        return *this;
    }
    TlvValue(const TlvValue& other) : TlvValue(Bytes(other)) {}
    TlvValue& operator=(const TlvValue& other) { return *this = TlvValue(other); }
    ~TlvValue() = default;

    size_t size() const { return size_; }
    uint8_t* data() { return heap_ ? heap_.get() : inPlace_.data(); }
    const uint8_t* data() const { return heap_ ? heap_.get() : inPlace_.data(); }
    operator std::span<uint8_t>() { return {data(), size_}; }
    operator Bytes() const { return {data(), size_}; }

  private:
    static constexpr size_t kInPlace = 64;

    size_t size_ = 0;
    std::unique_ptr<uint8_t[]> heap_;
    std::array<uint8_t, kInPlace> inPlace_{};
};

struct Tlv {
    uint8_t type = 0;
    TlvValue value;  // in wire order; its size is the TLV's length

    size_t flatSize1905() const { return value.size() + k1905TlvHeaderLen; }
};

// The TLVs of a message in wire order.
using TlvList = std::vector<Tlv>;

// Write the wire form of a TLV (big-endian) to the start of out. Return its size in bytes, 0 if out
// is too small or the length does not fit its field: 16 bits for IEEE 1905.1, 9 bits for LLDP.
[[nodiscard]] size_t flatten1905Tlv(const Tlv& tlv, std::span<uint8_t> out);
[[nodiscard]] size_t flattenLldpTlv(const Tlv& tlv, std::span<uint8_t> out);

// Iterates over the TLVs of an area up to the end-of-message TLV. parse gets the bytes from the
// header of a TLV to the end of the area and returns the number of bytes it consumed, 0 to reject
// the TLV. True if every TLV was accepted and lay within the area; area then starts at the
// end-of-message TLV, or is empty if there is none.
template <typename Parse>
bool walkTlvs(Bytes& area, Parse&& parse) {
    while (!area.empty() && area[0] != 0) {
        const size_t consumed = parse(area);
        if (consumed == 0 || consumed > area.size()) return false;
        area = area.subspan(consumed);
    }
    return true;
}
