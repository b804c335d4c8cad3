// The BSSs of this device that hostapd runs, and which network each of them gets.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "hostapd/control.h"
#include "hostapd/settings.h"

struct HostapdBss {
    std::string ifname;
    std::string stamp;   // of its socket; another one if hostapd has been restarted
    std::string band;    // WIFI_BAND.IFNAME of platform.conf, without it empty
    uint8_t rfBand = 0;  // that of the radio, in M1 and M2; 0 if unknown

    // Whether networks of the band can be on it.
    bool serves(const WifiBand& each) const {
        return band.empty() ? each.rfBand == rfBand : each.name == band;
    }
};

// What the folder of the sockets shows without a command; empty if there is no socket. None if this
// process may not look into the folder.
std::optional<std::string> hostapdStamp();

// All BSSs, sorted by name, without their rfBand.
std::vector<HostapdBss> listBss();
// The band of a radio according to nl80211, 0 if it is off or unknown.
uint8_t radioBandOf(const std::string& ifname);

struct BssPlan {
    const HostapdBss* bss;
    const WifiNetwork* network;      // nullptr: disable the BSS
    const WifiBand* band = nullptr;  // of the network
};
// Gives each network the first free BSS of its band, main networks before guest networks. A BSS
// that is left over is disabled if all bands it can have are configured, and else left alone. A
// network without a BSS is logged.
std::vector<BssPlan> planBss(const std::vector<HostapdBss>& all, const BandNetworks& bands,
                             const HostapdLog& log);
