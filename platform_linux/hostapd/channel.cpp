#include "hostapd/channel.h"

namespace {

// Channels that are 20 MHz, or four numbers, apart. Blocks begin at the first one.
struct Range {
    uint32_t first, last;
};
constexpr Range kRanges5[] = {{36, 64}, {100, 144}, {149, 161}, {165, 165}};
constexpr Range kRange6{1, 233};

std::optional<Range> rangeOf(std::string_view band, uint32_t number) {
    const auto has = [number](const Range& range) {
        return number >= range.first && number <= range.last && (number - range.first) % 4 == 0;
    };
    if (band == "6" && has(kRange6)) return kRange6;
    for (const Range& range : kRanges5) {
        if (band == "5" && has(range)) return range;
    }
    return {};
}

}  // namespace

uint32_t frequencyOfChannel(std::string_view band, uint32_t number) {
    if (band == "2.4") return number == 14 ? 2484 : 2407 + 5 * number;
    return (band == "5" ? 5000 : 5950) + 5 * number;
}

std::string_view bandOfFrequency(uint32_t frequency) {
    if (frequency == 0 || frequency >= 7200) return {};
    if (frequency < 2500) return "2.4";
    return frequency < 5945 ? "5" : "6";
}

std::optional<WifiChannel> wifiChannel(std::string_view band, uint32_t number, unsigned width) {
    WifiChannel found{frequencyOfChannel(band, number), 20, 0, number};
    if (band == "2.4") {
        if (number == 0 || number > 14) return {};
        if (width < 40 || number == 14) return found;
        const bool above = number <= 7;
        return WifiChannel{found.frequency, 40, above ? 1 : -1, above ? number + 2 : number - 2};
    }
    const auto range = rangeOf(band, number);
    if (!range) return {};
    const uint32_t offset = number - range->first;
    for (unsigned wide = 40; wide <= width; wide *= 2) {
        const uint32_t size = wide / 5, first = range->first + offset / size * size;
        if (first + size - 4 > range->last) break;
        found = {found.frequency, wide, offset / 4 % 2 == 0 ? 1 : -1, first + size / 2 - 2};
    }
    return found;
}
