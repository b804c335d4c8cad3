// A Wi-Fi network that a Registrar configures on its Enrollees, and the bands it can be on.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <string_view>

#include "wsc/attributes.h"

// Authentication types, which can be combined.
inline constexpr uint16_t kAuthOpen = 0x0001;
inline constexpr uint16_t kAuthWpa2Psk = 0x0020;
inline constexpr uint16_t kAuthSae = 0x0040;  // a value of Wi-Fi EasyMesh
inline constexpr uint16_t kAuthKnown = kAuthOpen | kAuthWpa2Psk | kAuthSae;

// Encryption types.
inline constexpr uint16_t kEncryptNone = 0x0001;
inline constexpr uint16_t kEncryptAes = 0x0008;

enum class FrameProtection { kNone, kOptional, kRequired };  // of management frames

struct WifiNetwork {
    WscField<32> ssid;  // any bytes
    uint16_t auth = 0;  // kAuth...
    WscField<64> key;   // pass phrase or 64 hexadecimal digits; empty if open

    FrameProtection protection() const {
        if ((auth & kAuthSae) == 0) return FrameProtection::kNone;
        return auth == kAuthSae ? FrameProtection::kRequired : FrameProtection::kOptional;
    }
    friend bool operator==(const WifiNetwork&, const WifiNetwork&) = default;
};

// Whether a text can be the key of a network with these authentication types: 8 to 63 printable
// ASCII characters, or for WPA2 alone 64 hexadecimal digits.
inline bool isWifiKey(std::string_view text, uint16_t auth) {
    if (text.size() == 64 && auth == kAuthWpa2Psk) {
        return text.find_first_not_of("0123456789abcdefABCDEF") == text.npos;
    }
    return text.size() >= 8 && text.size() < 64 &&
           std::ranges::all_of(text, [](char c) { return c >= ' ' && c <= '~'; });
}

struct WifiBand {
    uint8_t number;         // in search, response and renew; 32 and above are guest networks
    uint8_t rfBand;         // in M1 and M2
    std::string_view name;  // in files
    int timeIndex;          // of AutoConfTimes; -1 if it has no place there
};

// Of two with the same rfBand the main network comes first. The numbers below 32 are those of IEEE
// 1905.1, where 2 is 60 GHz, and our own 3 for 6 GHz. Wi-Fi Simple Configuration has no bit for it.
inline constexpr WifiBand kWifiBandTable[] = {
    {0, 0x01, "2.4", 0},        {1, 0x02, "5", 1},        {3, 0x08, "6", -1},
    {32, 0x01, "guest-2.4", 2}, {33, 0x02, "guest-5", 3},
};
inline constexpr uint8_t kBand6GHz = 3;

// nullptr if there is no such band.
inline const WifiBand* wifiBandOf(uint8_t number) {
    const auto* at = std::ranges::find(kWifiBandTable, number, &WifiBand::number);
    return at != std::end(kWifiBandTable) ? at : nullptr;
}

// At most this many networks in a band.
inline constexpr size_t kMaxBandNetworks = 8;
