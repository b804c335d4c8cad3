// What the mesh has ordered for the access points of this device. hostapd forgets it when it ends.
#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/mac_addr.h"

// A setting of several radios is a text of words BAND=VALUE ("2.4=6 5=36 5=149"). The n-th word of
// a band is for the n-th radio of that band.
struct WantedSettings {
    std::string country;       // two letters or digits
    std::string state;         // words with the value "on" or "off"
    std::string channels;      // words with the number of a channel; 0: as it is
    std::set<MacAddr> barred;  // stations

    bool empty() const { return *this == WantedSettings{}; }
    friend bool operator==(const WantedSettings&, const WantedSettings&) = default;
};
inline constexpr size_t kMostBarred = 256;

std::string writeWanted(const WantedSettings& wanted);
// Skips what is no such setting.
WantedSettings readWanted(std::string_view text);

// Whether they can be such settings.
bool isCountryCode(std::string_view text);
bool isStateText(std::string_view text);
bool isChannelText(std::string_view text);
// The value for a radio; empty if there is none.
std::string_view radioValue(std::string_view text, std::string_view band, size_t place);
