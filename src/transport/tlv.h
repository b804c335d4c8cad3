// A TLV in memory, its wire forms, and the walk over the TLV area of a received message.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "core/bytes.h"

inline constexpr size_t k1905TlvHeaderLen = 3;  // type, big-endian length
inline constexpr size_t kLldpTlvHeaderLen = 2;  // 7 bits type, 9 bits length
inline constexpr size_t kMaxTlvLength = 0xFFFF;
inline constexpr size_t kMaxSentTlvSize = 1400;  // header included; a TLV is never split
inline constexpr size_t kMaxSentTlvLength = kMaxSentTlvSize - k1905TlvHeaderLen;

struct Tlv {
    uint8_t type = 0;
    std::vector<uint8_t> value;  // in wire order; its size is the TLV's length

    size_t flatSize1905() const { return value.size() + k1905TlvHeaderLen; }
};

// In wire order.
using TlvList = std::vector<Tlv>;

// Write the wire form of a TLV to the start of out and return its size in bytes, 0 when out is
// too small or the length does not fit its field.
size_t flatten1905Tlv(const Tlv& tlv, std::span<uint8_t> out);
size_t flattenLldpTlv(const Tlv& tlv, std::span<uint8_t> out);

// Walks the TLVs of an area up to its end-of-message TLV. parse is called with the bytes from a
// TLV's header to the end of the area and returns the number of bytes it consumed, 0 to reject.
// True when every TLV was accepted and lay within the area; area then starts at the end marker.
template <typename Parse>
bool walkTlvs(Bytes& area, Parse&& parse) {
    while (!area.empty() && area[0] != 0) {
        const size_t consumed = parse(area);
        if (consumed == 0 || consumed > area.size()) return false;
        area = area.subspan(consumed);
    }
    return true;
}
