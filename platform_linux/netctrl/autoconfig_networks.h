// The networks that a Registrar has given to this device.
#pragma once

#include <string>
#include <vector>

#include "wsc/network.h"

struct ReceivedNetworks {
    const WifiBand* band = nullptr;
    std::string updateTime;             // the Registrar's text; empty if it sent none
    std::vector<WifiNetwork> networks;  // empty: the band has no network any more
};

// Puts them into effect in place of the former ones of the band: writes them to wifi-NUMBER.conf in
// the daemon's own folder and runs the hook autoconf-networks, or without it gives them to hostapd.
void applyNetworks(const ReceivedNetworks& received);

// Forgets when they were configured.
void dropNetworks();
