// The frequency bands in which Wi-Fi networks are configured.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>

// Main network on 2.4 and 5 GHz, guest network on 2.4 and 5 GHz.
inline constexpr std::array<uint8_t, 4> kWifiBands{0, 1, 32, 33};

// The same and the main network on 6 GHz: the bands of which renews are acknowledged. The texts and
// lists of four that other programs and devices read have no place for it.
inline constexpr std::array<uint8_t, 5> kRenewBands{0, 1, 32, 33, 3};

// The index of a band in kRenewBands and in the lists that are ordered like it; std::nullopt for
// any other number.
inline std::optional<size_t> bandIndex(uint8_t band) {
    const auto at = std::find(kRenewBands.begin(), kRenewBands.end(), band);
    if (at == kRenewBands.end()) return std::nullopt;
    return static_cast<size_t>(at - kRenewBands.begin());
}
