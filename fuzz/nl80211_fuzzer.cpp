// Feeds answers of nl80211. An input is three answers (fake_netlink.h): to the look-up of the
// family, to the query of an interface, and to that of its stations.
#include <cctype>

#include "fake_netlink.h"
#include "netctrl/wireless.h"
#include "process.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    ByteReader reader({data, size});
    answerFrom(reader);
    Nl80211 radios;
    const auto radio = radios.query(1);
    if (radio) {
        require(radio->mediaType >> 8 == 1 && radio->onChannel == (radio->frequency != 0));
        (void)connTypeOf("wlan0", radio->frequency, radio->meshPoint);
        const WifiChannels channels = channelsOf({radio->frequency, 5180});
        for (const auto* text : {&channels.band24, &channels.band5, &channels.band5High}) {
            require(isTerminated(*text));
            for (const char c : std::string_view(*text)) require(isdigit(c) != 0);
        }
    }
    for (const WifiStation& station : radios.stations(1)) {
        require(isTerminated(station.tx) && isTerminated(station.rx));
        require(station.signalLevel <= 100);
    }
    return 0;
}
