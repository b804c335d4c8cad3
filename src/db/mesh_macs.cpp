#include "db/mesh_macs.h"

#include <algorithm>

bool MeshMacs::contains(const MacAddr& mac) {
    if (macs_.empty()) collect();
    return std::ranges::binary_search(macs_, mac);
}

std::vector<MacAddr> MeshMacs::hostsOf(const std::vector<MacAddr>& macs) {
    std::vector<MacAddr> hosts;
    for (const MacAddr& mac : macs) {
        if (!contains(mac)) hosts.push_back(mac);
    }
    return hosts;
}

void MeshMacs::collect() {
    macs_.push_back(al_.alMac);
    for (const auto& intf : al_.intfs) {
        macs_.push_back(intf.mac);
        for (const auto& nbr : intf.nbrs) {
            if (nbr.is1905) macs_.insert(macs_.end(), {nbr.nbrAlMac, nbr.nbrIntfMac});
        }
    }
    for (const auto& dev : al_.nbrDevs) macs_.push_back(dev.alMac);
    for (const auto& dev : al_.topol.devs) add(dev);
    if (more_ != nullptr) add(*more_);
    std::ranges::sort(macs_);
}

void MeshMacs::add(const DevTopol& dev) {
    macs_.push_back(dev.alMac);
    for (const auto& intf : dev.intfs) macs_.push_back(intf.mac);
}
