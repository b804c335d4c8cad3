// Bytes on the wire, independent of the builders of the daemon.
#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "base/mac_addr.h"
#include "wire/frame.h"
#include "wire/tlv.h"

using Frame = std::vector<uint8_t>;

inline constexpr std::string_view kHexDigits = "0123456789abcdef";

// The bytes of "01 a0 ff" or "01a0ff"; all other characters are separators. "=0105" is a number in
// the byte order of the machine.
inline Frame hex(std::string_view text) {
    Frame out;
    size_t high = kHexDigits.npos;
    size_t number = kHexDigits.npos;  // where it begins
    const auto endNumber = [&] {
        if (number != kHexDigits.npos && std::endian::native == std::endian::little) {
            std::reverse(out.begin() + static_cast<ptrdiff_t>(number), out.end());
        }
        number = kHexDigits.npos;
    };
    for (const char c : text) {
        const size_t digit = kHexDigits.find(c);
        const bool isPair = high != kHexDigits.npos && digit != kHexDigits.npos;
        if (digit == kHexDigits.npos) endNumber();
        if (c == '=') number = out.size();
        if (isPair) out.push_back(static_cast<uint8_t>(high * 16 + digit));
        high = isPair ? kHexDigits.npos : digit;
    }
    endNumber();
    return out;
}
inline std::string print(const Frame& bytes) {
    std::string out;
    for (const uint8_t byte : bytes) out += {kHexDigits[byte >> 4], kHexDigits[byte & 15]};
    return out;
}

inline Frame operator+(Frame left, const Frame& right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}
inline Frame bytesOf(const MacAddr& mac) {
    return {mac.b.begin(), mac.b.end()};
}
inline Frame bytesOf(const TlvArea& area) {
    return {area.bytes().begin(), area.bytes().end()};
}
inline Frame be16(unsigned value) {
    return {static_cast<uint8_t>(value >> 8), static_cast<uint8_t>(value)};
}

inline Frame tlvBytes(uint8_t type, const Frame& value) {
    return Frame{type} + be16(static_cast<unsigned>(value.size())) + value;
}
inline Frame macTlv(uint8_t type, const MacAddr& mac) {
    return tlvBytes(type, bytesOf(mac));
}
inline Frame endOfMsg() {
    return {0, 0, 0};
}

inline constexpr uint8_t kLastFragment = 0x80;

// An IEEE 1905.1 frame; tlvs is everything behind the CMDU header.
inline Frame frame1905(const MacAddr& dst, const MacAddr& src, unsigned type, unsigned id,
                       const Frame& tlvs, uint8_t flags = kLastFragment, uint8_t fragId = 0,
                       uint8_t version = kCmduVersion) {
    return bytesOf(dst) + bytesOf(src) + be16(kEtherType1905) + Frame{version, 0} + be16(type) +
           be16(id) + Frame{fragId, flags} + tlvs;
}

// A frame that a device sent.
struct Sent {
    MacAddr dst, src;
    unsigned type = 0, id = 0, fragId = 0, flags = 0;
    std::string tlvs;  // their types in decimal: "1 2"
    Frame frame;
};
inline Sent decodeFrame(const Frame& frame) {
    const auto u16 = [&](size_t at) { return frame.at(at) * 256U + frame.at(at + 1); };
    Sent sent{MacAddr(&frame.at(0)), MacAddr(&frame.at(6)), u16(16), u16(18),
              frame.at(20),          frame.at(21),          {},      frame};
    for (size_t at = 22; at < frame.size() && frame[at] != 0; at += 3U + u16(at + 1)) {
        sent.tlvs += (at > 22 ? " " : "") + std::to_string(frame[at]);
    }
    return sent;
}
