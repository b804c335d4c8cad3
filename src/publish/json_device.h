// The "IEEE1905Device." objects: remote devices with their interfaces, neighbors and bridges.
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

// Which device hears which, in the whole database. A topology response names a 1905 neighbor only
// by its AL MAC; the interface of the neighbor is the one on which it hears the device in turn.
class Hearings {
  public:
    Hearings(const AlTable& al, const TopolTable& topol);
    // The interface on which one device (by) hears another (heard), if possible one with this media
    // type. A zero MAC and no media type if the device is unknown or does not hear the other.
    NbrIntf intfOf(const MacAddr& by, const MacAddr& heard, uint32_t mediaType) const;

  private:
    // A device that is heard, and the interface on which it is heard.
    struct Hearing {
        uint64_t heard;  // MacAddr::number() of its AL MAC
        NbrIntf intf;
    };
    static bool isBefore(const Hearing& left, const Hearing& right) {
        return left.heard < right.heard;
    }

    // By the device that hears. The lists are sorted for fast lookup: all devices may hear all.
    std::unordered_map<MacAddr, std::vector<Hearing>> heardBy_;
};

// The database from which the data model is written.
struct DataModel {
    const AlTable& al;
    Hearings hearings;
};

// Writes the object of a remote device with this number (from 1).
void writeIeee1905Device(JsonWriter& out, const DataModel& model, const Ieee1905DevTable& dev,
                         size_t number);

// Points client to the record of the station with this MAC in the Wi-Fi client list of the device;
// unchanged if there is none. kOk.
int checkIntfMacMediaType(const Ieee1905DevTable& dev, const MacAddr& mac,
                          const WifiClient*& client);

// Writes one "IEEE1905Neighbor." object for each Wi-Fi link to this neighbor in the client list of
// the device. number is that of the object written last and is increased; localIntf is the
// reference to the interface of the device ("Interface.1"). Returns the number of objects written.
int checkIeee1905NbrIsWIFI(JsonWriter& out, const Ieee1905DevTable& dev, const Ieee1905Nbr& nbr,
                           size_t& number, std::string_view localIntf);
