// A picture of the device's network at one moment: the participating interfaces, the bridges and
// the neighbors known on each interface.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/mac_addr.h"

struct Intf {
    int index = 0;  // in the kernel
    std::string name;
    MacAddr mac;
    uint32_t pwrState = 0;    // PLATFORM_PWR_...
    uint32_t operStatus = 0;  // PLATFORM_OPER_...
    uint32_t mediaType = 0;
    std::vector<uint8_t> mediaInfo;
    uint32_t frequency = 0;          // MHz, 0 unless it is a radio on a channel
    bool hasStations = false;        // it is an access point or mesh point
    bool meshPoint = false;          // it is a mesh point
    int bridge = 0;                  // index of its bridge, 0 if it has none
    std::vector<MacAddr> neighbors;  // sorted, unique

    bool isRadio() const { return (mediaType & 0xFF00) == 0x0100; }
};

struct Bridge {
    int index = 0;
    MacAddr mac;
};

struct Picture {
    std::vector<Intf> intfs;       // in the order of their index
    std::vector<Bridge> bridges;   // likewise
    std::vector<MacAddr> ownMacs;  // of all interfaces of the device
    // The interfaces that take no part only because they hold the default route.
    std::vector<std::string> uplinks;

    const Intf* byIndex(int index) const;
    const Intf* byName(std::string_view name) const;
};

// None if the kernel does not answer in full, since an interface missing from half a picture must
// not count as removed. Driver data of known interfaces is taken from the previous picture.
std::optional<Picture> takePicture(const Picture& previous);

// Updates only the neighbors. False, with a partial list, if the kernel does not answer in full.
[[nodiscard]] bool takeNeighbors(Picture& picture);

// The AL MAC address: that of the lowest-numbered bridge with a participating interface, else of
// the lowest-numbered participating interface. None without interfaces.
std::optional<MacAddr> alMacOf(const Picture& picture);

// The LAN MAC address: that of the lowest-numbered bridge, else of the lowest-numbered
// participating interface. None without either.
std::optional<MacAddr> lanMacOf(const Picture& picture);
