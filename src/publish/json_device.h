// The "IEEE1905Device." objects: remote devices with their interfaces, neighbors and bridges.
#pragma once

#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "db/mesh_macs.h"
#include "db/records.h"
#include "publish/json_writer.h"

// One end of a link, as far as it is known.
struct LinkEnd {
    static constexpr uint32_t kNoMediaType = UINT32_MAX;

    MacAddr mac;
    uint32_t mediaType = kNoMediaType;

    bool operator==(const LinkEnd&) const = default;
};

// Which device hears which, in the whole database. A topology response names a 1905 neighbor only
// by its AL MAC; the interface of the neighbor is the one on which it hears the device in turn.
class Hearings {
  public:
    Hearings(const AlTable& al, const TopolTable& topol);
    // The far ends of the device's links, one for each of its 1905 neighbors in their order.
    std::vector<LinkEnd> farEndsOf(const Ieee1905DevTable& dev) const;

  private:
    struct Hearing {
        size_t by;          // number of the device that hears
        MacAddr heardIntf;  // zero: unknown
        LinkEnd intf;
    };
    static constexpr size_t kMostIntfs = 255;
    static constexpr size_t kUnknown = SIZE_MAX;
    // The number of the device, kUnknown if it is not in the database.
    size_t numberOf(const MacAddr& alMac) const;
    void add(const MacAddr& heard, const Hearing& hearing);
    // The interface on which one device (by) hears another (heard). If there are several, then the
    // one on which it hears this interface of the other (on), which only this device knows of its
    // own, else one with the same media type. Of several that fit equally, as those of two cables
    // do, the nth (from 0), so that each link gets its own. A zero MAC and no media type if the
    // device does not hear the other.
    LinkEnd intfOf(size_t by, size_t heard, const LinkEnd& on, size_t nth) const;

    std::unordered_map<MacAddr, size_t> numbers_;  // of all devices, this one first
    // By the number of the device that is heard, in the order of those that hear it; each of them
    // hears it on at most kMostIntfs interfaces.
    std::vector<std::vector<Hearing>> of_;
};

// What the object of a remote device shows that is not in its record.
struct Surroundings {
    std::vector<LinkEnd> farEnds;      // Hearings::farEndsOf
    std::vector<bool> hosts;           // hostsAmongNbrs
    std::optional<int> authorized;     // authorizationOf
    std::optional<bool> standardMode;  // standardModeOf
};

// For each non-1905 neighbor of the device, in their order: false if the address belongs to the
// mesh, because a bridge learns those too.
std::vector<bool> hostsAmongNbrs(const Ieee1905DevTable& dev);
// The answer of checkMACisApprove, which only a Registrar shows.
std::optional<int> authorizationOf(const AlTable& al, const Ieee1905DevTable& dev);
// Whether the device is in standard mode, too, which only a device in standard mode can tell.
std::optional<bool> standardModeOf(const Ieee1905DevTable& dev);

// Write the object of a remote device with this number (from 1): what describes it, then its lists.
// Both depend on nothing but their arguments, so the text is the same as long as they are.
void beginIeee1905Device(JsonWriter& out, const Ieee1905DevTable& dev,
                         const Surroundings& surroundings, size_t number);
void endIeee1905Device(JsonWriter& out, const Ieee1905DevTable& dev,
                       const Surroundings& surroundings);

// Points client to the record of the station with this MAC in the Wi-Fi client list of the device;
// unchanged if there is none. kOk.
int checkIntfMacMediaType(const Ieee1905DevTable& dev, const MacAddr& mac,
                          const WifiClient*& client);

// The stations in the Wi-Fi client list of a device that are no link of an object yet.
using FreeClients = std::vector<const WifiClient*>;

// Writes an "IEEE1905Neighbor." object with the Wi-Fi members if a client is this neighbor and has
// the medium of the local interface; of several the one with the MAC of the neighbor's interface.
// Takes the client off the list. number is that of the object written last and is increased;
// localIntf is the reference to the interface of the device ("Interface.1"). Returns the number of
// objects written: 0 or 1.
int checkIeee1905NbrIsWIFI(JsonWriter& out, FreeClients& clients, const Ieee1905Nbr& nbr,
                           size_t& number, std::string_view localIntf, uint32_t mediaType,
                           const MacAddr& nbrIntfMac);
