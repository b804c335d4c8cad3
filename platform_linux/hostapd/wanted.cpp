#include "hostapd/wanted.h"

#include <algorithm>

#include "common/text.h"
#include "wsc/network.h"

namespace {

template <typename IsValue>
bool isRadioText(std::string_view text, IsValue isValue) {
    bool good = text.find('=') != text.npos;
    forEachWord(text, [&](std::string_view word) {
        const auto pair = parseKeyValue(word);
        const auto* band = pair ? std::ranges::find(kWifiBandTable, pair->key, &WifiBand::name)
                                : std::end(kWifiBandTable);
        good =
            good && band != std::end(kWifiBandTable) && band->number < 32 && isValue(pair->value);
    });
    return good;
}

}  // namespace

bool isCountryCode(std::string_view text) {
    return text.size() == 2 && std::ranges::all_of(text, [](char c) {
               return (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
           });
}

bool isStateText(std::string_view text) {
    return isRadioText(text,
                       [](std::string_view value) { return value == "on" || value == "off"; });
}

bool isChannelText(std::string_view text) {
    return isRadioText(text, [](std::string_view value) {
        const auto number = parseNumber(value);
        return number && *number <= 233;
    });
}

std::string_view radioValue(std::string_view text, std::string_view band, size_t place) {
    std::string_view found;
    size_t seen = 0;
    forEachWord(text, [&](std::string_view word) {
        const auto pair = parseKeyValue(word);
        if (pair && pair->key == band && seen++ == place) found = pair->value;
    });
    return found;
}

std::string writeWanted(const WantedSettings& wanted) {
    std::string text = "country " + wanted.country + "\nstate " + wanted.state + "\nchannels " +
                       wanted.channels + "\nbarred";
    for (const MacAddr& station : wanted.barred) text += " " + macText(station);
    return text + "\n";
}

WantedSettings readWanted(std::string_view text) {
    WantedSettings wanted;
    while (!text.empty()) {
        const std::string_view line = takeLine(text), name = line.substr(0, line.find(' '));
        const std::string_view value = trim(line.substr(name.size()));
        if (name == "country" && isCountryCode(value)) wanted.country = value;
        if (name == "state" && isStateText(value)) wanted.state = value;
        if (name == "channels" && isChannelText(value)) wanted.channels = value;
        if (name != "barred") continue;
        forEachWord(value, [&wanted](std::string_view word) {
            const auto station = macFromText(word);
            if (station && wanted.barred.size() < kMostBarred) wanted.barred.insert(*station);
        });
    }
    return wanted;
}
