// The "IEEE1905Device." objects: remote devices with their interfaces, neighbours and bridges.
#pragma once

#include <string_view>
#include <unordered_map>

#include "datamodel/json_writer.h"
#include "topology/records.h"

// The database while it is being written out, remote devices found by their AL MAC.
struct DataModel {
    const AlTable& al;
    std::unordered_map<MacAddr, const Ieee1905DevTable*> devs;
};

void writeIeee1905Device(JsonWriter& out, const DataModel& model, const Ieee1905DevTable& dev,
                         size_t number);

// Points client to the record of the station with this MAC in the device's Wi-Fi client list, and
// leaves it alone when there is none. kOk.
int checkIntfMacMediaType(const Ieee1905DevTable& dev, const MacAddr& mac,
                          const WifiClient*& client);

// Writes one "IEEE1905Neighbor." object per Wi-Fi link that the device's client list holds to this
// neighbour, numbered onwards from the number of objects written before, which it raises.
// localIntf names the device's interface. Returns how many objects were written.
int checkIeee1905NbrIsWIFI(JsonWriter& out, const Ieee1905DevTable& dev, const Ieee1905Nbr& nbr,
                           size_t& number, std::string_view localIntf);
