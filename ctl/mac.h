// MAC addresses as people write them.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "vm1905_client.h"

struct Mac {
    std::array<uint8_t, 6> b{};

    Mac() = default;
    Mac(const vm1905_mac& mac);  // not explicit: the client library's records hold these
    operator vm1905_mac() const;
    auto operator<=>(const Mac&) const = default;
    bool isZero() const { return *this == Mac{}; }
    std::string text() const;  // aa:bb:cc:dd:ee:ff
};

// Twelve hexadecimal digits, in pairs behind each other or separated by : - or . throughout, or in
// three groups of four. Nothing for any other text.
std::optional<Mac> parseMac(std::string_view text);

// Bytes written as hexadecimal digits in pairs, with blanks, colons or dashes between the pairs or
// without. Nothing for any other text.
std::optional<std::string> parseHex(std::string_view text);

std::string hexOf(const uint8_t* data, size_t length);
