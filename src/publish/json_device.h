// The "IEEE1905Device." objects: remote devices with their interfaces, neighbours and bridges.
#pragma once

#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/records.h"
#include "publish/json_writer.h"

// The interface at the far end of a link, as far as it is known.
struct NbrIntf {
    static constexpr uint32_t kNoMediaType = UINT32_MAX;

    MacAddr mac;
    uint32_t mediaType = kNoMediaType;
};

// Who hears whom in the whole database. A topology response names a 1905 neighbour by its AL MAC
// alone; its interface is the one on which it hears the device in turn.
class Hearings {
  public:
    Hearings(const AlTable& al, const TopolTable& topol);
    // Of several interfaces the one of this medium. A device that is not known, or does not hear
    // the other yet, has a zero MAC and no medium.
    NbrIntf intfOf(const MacAddr& by, const MacAddr& heard, uint32_t mediaType) const;

  private:
    // On this interface a device hears another.
    struct Hearing {
        uint64_t heard;  // its address as a number
        NbrIntf intf;
    };
    static bool isBefore(const Hearing& left, const Hearing& right) {
        return left.heard < right.heard;
    }

    // By the device that hears, each list ordered: all devices may hear all.
    std::unordered_map<MacAddr, std::vector<Hearing>> heardBy_;
};

// The database while it is being written out.
struct DataModel {
    const AlTable& al;
    Hearings hearings;
};

// Writes the object of a remote device, with all below it, under this number (from 1).
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
