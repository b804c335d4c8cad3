// News of the mesh, as plain lines of the log (level 2): which device has joined, left, moved or
// changed its role.
#pragma once

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <string>

#include "base/clock.h"
#include "base/mac_addr.h"

struct MeshNews {
    // A port of this device or of another one.
    struct Port {
        MacAddr alMac, intfMac;
        auto operator<=>(const Port&) const = default;
    };
    // What has been logged of a device.
    struct Known {
        std::string name;
        uint8_t role = 255;  // as VendItems::role
        Port port{};         // on which it is connected; zero: unknown
        Port nextPort{};     // where it seems to be now
        Seconds nextSince = 0;
        Seconds since = 0, seen = 0;  // of the device: when it came, and the last pass that saw it
        bool hasJoined = false;       // was logged
    };
    // A device that has left, and the name that it had.
    struct Lost {
        MacAddr alMac;
        std::string name;
    };
    std::map<MacAddr, Known> devices;
    std::deque<Lost> lost;  // the last one at the end
    uint64_t revision = 0;  // of the tables (topologyRevision) from which the ports were derived
};

// Compares the mesh with what has been logged, and logs what is new. A device has some seconds to
// describe itself, and a place some to last. When a device has left, writes "vm1905_lost.json",
// which has the names of the devices of the change log that are no longer in the data model. kOk.
int logMeshNews();
