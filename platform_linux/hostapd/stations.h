// The stations of BSSs whose drivers do not report them to nl80211.
#pragma once

#include <string>
#include <vector>

#include "common/programs.h"

struct BssStations {
    std::string ifname;
    std::string lines;  // in the format of the hook `stations`
};

// The last answer. Asks all BSSs but those of the given interfaces, for the next call.
std::vector<BssStations> stationsOfHostapd(const Arguments& except);
// The access points of which it asks, as they were then.
struct ShownBss {
    std::string ifname, band, ssid;
    bool isOn = false;
    uint32_t channel = 0;
};
const std::vector<ShownBss>& bssOfHostapd();
void dropHostapdStations();

// The work of the program "hostapd stations": prints these lines behind a line for each access
// point, and what has failed.
int runHostapdStations(const Arguments& except);
