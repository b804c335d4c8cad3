// The mesh as a device's data-model file shows it.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "sim/mesh.h"

namespace sim {

using Names = std::set<std::string>;

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

}  // namespace sim
