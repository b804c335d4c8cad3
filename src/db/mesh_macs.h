// The addresses that belong to the devices of the mesh: the AL MACs and interface MACs of this
// device, of its 1905 neighbors and of all remote devices. A bridge learns them like those of any
// host, but they are no hosts.
#pragma once

#include <cstdint>
#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"

struct MeshMacs {
    std::vector<MacAddr> macs;  // sorted
    uint64_t revision = 0;      // of the tables (topologyRevision) from which they were collected
    Seconds time = 0;           // of that
};

// True if the address belongs to the mesh; false without a database.
[[nodiscard]] bool isMeshMac(const MacAddr& mac);
// False if a change of the tables was not noted (noteTopologyChange). For assertions.
[[nodiscard]] bool meshMacsAreCurrent();
// The topologyRevision() of the tables from which isMeshMac answers now.
[[nodiscard]] uint64_t meshMacsRevision();
