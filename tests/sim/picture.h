// The mesh as a device's data-model file shows it.
#pragma once

#include <cstdio>
#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/mesh.h"

namespace sim {

using Names = std::set<std::string>;

inline std::string text(const MacAddr& mac) {
    char out[18];
    snprintf(out, sizeof out, MAC_FMT, MAC_ARGS(mac));
    return out;
}

// The members of an object whose keys are the prefix and a number, in order.
inline std::vector<Json> numbered(const Json& object, const std::string& prefix) {
    std::vector<Json> found;
    for (;;) {
        const auto member = object.find(prefix + std::to_string(found.size() + 1));
        if (member == object.end()) return found;
        found.push_back(*member);
    }
}

inline const Json& alOf(const Json& file) {
    return file.at("Device").at("X_5E1F09_IEEE1905").at("AL");
}

// The remote devices by AL MAC.
inline std::map<std::string, Json> remotes(const Json& file) {
    const Json& topology = alOf(file).at("NetworkTopology");
    std::map<std::string, Json> found;
    for (const auto& dev : numbered(topology, "IEEE1905Device.")) found[dev.at("IEEE1905Id")] = dev;
    if (topology.at("IEEE1905DeviceNumberOfEntries") != found.size()) {
        throw std::runtime_error("the number of devices is not the number of entries");
    }
    return found;
}

inline Names known(const Json& file) {
    Names names;
    for (const auto& [alMac, dev] : remotes(file)) names.insert(alMac);
    return names;
}

// "MAC medium" of every interface of an AL or remote device object.
inline std::vector<std::string> intfs(const Json& object) {
    std::vector<std::string> list;
    for (const auto& intf : numbered(object, "Interface.")) {
        list.push_back(intf.at("InterfaceId").get<std::string>() + " " +
                       intf.at("MediaType").get<std::string>());
    }
    return list;
}

// "local interface > AL MAC interface MAC" of every 1905 neighbour of a remote device object.
inline Names nbrs(const Json& dev) {
    Names names;
    for (const auto& nbr : numbered(dev, "IEEE1905Neighbor.")) {
        names.insert(nbr.at("LocalInterface").get<std::string>() + " > " +
                     nbr.at("NeighborDeviceId").get<std::string>() + " " +
                     nbr.at("NeighborInterfaceId").get<std::string>());
    }
    return names;
}

// "event neighbour" of every change-log entry, oldest first.
inline std::vector<std::string> changes(const Json& log) {
    std::vector<std::string> list;
    for (const auto& entry : numbered(log, "ChangeLog.")) {
        list.push_back(entry.at("EventType").get<std::string>() + " " +
                       entry.at("NeighborId").get<std::string>());
    }
    return list;
}

}  // namespace sim
