// A picture of the device's network as the kernel shows it at one moment: the interfaces that take
// part, the bridges, and the neighbors known on each interface.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/mac_addr.h"

struct Intf {
    int index = 0;  // the kernel's
    std::string name;
    MacAddr mac;
    uint32_t pwrState = 0;    // PLATFORM_PWR_...
    uint32_t operStatus = 0;  // PLATFORM_OPER_...
    uint32_t mediaType = 0;
    std::vector<uint8_t> mediaInfo;
    uint32_t frequency = 0;          // MHz, of a radio that is on a channel, else 0
    bool hasStations = false;        // a radio that others join
    bool meshPoint = false;          // one of these that is no access point
    int bridge = 0;                  // index of the bridge it is a port of, else 0
    std::vector<MacAddr> neighbors;  // sorted, without repeats

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

    const Intf* byIndex(int index) const;
    const Intf* byName(std::string_view name) const;
};

// False when the kernel does not answer in full: then nothing is known, since an interface that is
// missing from half a picture must not count as removed. The drivers' figures of an interface that
// the previous picture holds are taken from there.
std::optional<Picture> takePicture(const Picture& previous);

// Renews the neighbors alone.
[[nodiscard]] bool takeNeighbors(Picture& picture);

// The address of the abstraction layer: of the lowest-numbered bridge that holds an interface that
// takes part, else of the lowest-numbered such interface. None without interfaces.
std::optional<MacAddr> alMacOf(const Picture& picture);

// The address under which the LAN knows the device: of the lowest-numbered bridge, else of the
// lowest-numbered interface that takes part.
std::optional<MacAddr> lanMacOf(const Picture& picture);
