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
    Mac(const vm1905_mac& mac);  // implicit, as the records of the client library hold vm1905_mac
    operator vm1905_mac() const;
    auto operator<=>(const Mac&) const = default;
    bool isZero() const { return *this == Mac{}; }
    std::string text() const;  // aa:bb:cc:dd:ee:ff
};

// Reads twelve hexadecimal digits: without separators, or in six pairs or three groups of four that
// are separated by : or - or . throughout. Empty if the text is anything else.
std::optional<Mac> parseMac(std::string_view text);
