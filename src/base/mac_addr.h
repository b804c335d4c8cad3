// A MAC address as a value that can be compared, hashed and printed.
#pragma once

#include <endian.h>

#include <array>
#include <compare>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>

struct MacAddr {
    std::array<uint8_t, 6> b{};

    MacAddr() = default;
    constexpr MacAddr(uint8_t b0, uint8_t b1, uint8_t b2, uint8_t b3, uint8_t b4, uint8_t b5)
        : b{b0, b1, b2, b3, b4, b5} {}
    // Copies 6 bytes in wire order.
    explicit MacAddr(const uint8_t* bytes) { std::memcpy(b.data(), bytes, b.size()); }

    // The address as a number. Searches through the tables compare numbers, which is faster than
    // comparing bytes; a build for size would otherwise call these functions for each entry.
    [[gnu::always_inline]] uint64_t number() const {
        uint32_t high;
        uint16_t low;
        std::memcpy(&high, b.data(), sizeof high);
        std::memcpy(&low, b.data() + sizeof high, sizeof low);
        return uint64_t{be32toh(high)} << 16 | be16toh(low);
    }
    [[gnu::always_inline]] bool operator==(const MacAddr& other) const {
        return number() == other.number();
    }
    [[gnu::always_inline]] auto operator<=>(const MacAddr& other) const {
        return number() <=> other.number();
    }
    bool isZero() const { return *this == MacAddr{}; }
    const uint8_t* data() const { return b.data(); }
    // Writes 6 bytes in wire order.
    void copyTo(uint8_t* out) const { std::memcpy(out, b.data(), b.size()); }
};

template <>
struct std::hash<MacAddr> {
    size_t operator()(const MacAddr& mac) const noexcept {
        // Mixed, since others choose the addresses, and tables use the low bits.
        const uint64_t mixed = mac.number() * 0x9E3779B97F4A7C15;
        return static_cast<size_t>(mixed ^ (mixed >> 32));
    }
};

// A printf format for a MAC address, and the arguments for it.
#define MAC_FMT "%.2x:%.2x:%.2x:%.2x:%.2x:%.2x"
#define MAC_ARGS(m) (m).b[0], (m).b[1], (m).b[2], (m).b[3], (m).b[4], (m).b[5]

// "aa:bb:cc:dd:ee:ff"
inline std::string macText(const MacAddr& mac) {
    char text[18];
    (void)std::snprintf(text, sizeof text, MAC_FMT, MAC_ARGS(mac));
    return text;
}
