// The addresses that belong to the devices of the mesh. A bridge learns them like those of any
// host, but they are no hosts.
#pragma once

#include <vector>

#include "db/records.h"

// The AL MACs and interface MACs of this device, of its 1905 neighbors and of all remote devices.
class MeshMacs {
  public:
    // more, if given, is a device that the database does not have yet. Both must live as long.
    explicit MeshMacs(const AlTable& al, const DevTopol* more = nullptr) : al_(al), more_(more) {}

    // Collects the addresses at the first call.
    bool contains(const MacAddr& mac);
    // Those of the list that do not belong to the mesh, in its order.
    std::vector<MacAddr> hostsOf(const std::vector<MacAddr>& macs);

  private:
    void collect();
    void add(const DevTopol& dev);

    const AlTable& al_;
    const DevTopol* more_;
    std::vector<MacAddr> macs_;  // sorted
};
