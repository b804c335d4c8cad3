// The frequency bands by which Wi-Fi networks are configured.
#pragma once

#include <array>
#include <cstdint>

// Main network on 2.4 and 5 GHz, guest network on 2.4 and 5 GHz.
inline constexpr std::array<uint8_t, 4> kWifiBands{0, 1, 32, 33};
