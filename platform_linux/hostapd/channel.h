// The channels of Wi-Fi: their frequencies, and the blocks of 40 to 160 MHz that contain them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

struct WifiChannel {
    uint32_t frequency = 0;  // MHz of the primary channel
    unsigned width = 20;     // MHz
    int secondary = 0;       // the secondary channel of 40 MHz: 1 above, -1 below, 0 none
    uint32_t center = 0;     // number of the channel in the middle

    friend bool operator==(const WifiChannel&, const WifiChannel&) = default;
};

// The channel of this number with this width, or with the widest one below that it can have. None
// if the band ("2.4", "5" or "6") has no such channel.
std::optional<WifiChannel> wifiChannel(std::string_view band, uint32_t number, unsigned width);

// The frequency (MHz) of a channel or of the middle of a block.
uint32_t frequencyOfChannel(std::string_view band, uint32_t number);
// The band of a frequency (MHz); empty if there is none.
std::string_view bandOfFrequency(uint32_t frequency);
