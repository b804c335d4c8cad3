// What the programs that talk to hostapd have set, in the daemon's own folder: a restart of the
// daemon alone sets nothing again.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "base/fd.h"

// The network of a BSS.
struct AppliedNetwork {
    std::string ifname, stamp, digest;  // of the network, or kNoNetwork
    unsigned rfBand = 0;
};
inline constexpr std::string_view kNoNetwork = "none";

std::vector<AppliedNetwork> readAppliedNetworks();
bool writeAppliedNetworks(const std::vector<AppliedNetwork>& all);
// After a restart of radios, which has switched on the BSSs without a network: they have to be
// disabled again.
void forgetDisabledBss();

// The orders of the mesh that a BSS and its radio have got.
struct AppliedOrders {
    std::string ifname, stamp;
    bool isOff = false;         // the radio was switched off
    std::string country = "-";  // its country code
};
std::vector<AppliedOrders> readAppliedOrders();
bool writeAppliedOrders(const std::vector<AppliedOrders>& all);

// Only one program at a time may talk to hostapd and change these files: waits for the others. The
// lock ends with the object.
[[nodiscard]] Fd lockHostapd();
