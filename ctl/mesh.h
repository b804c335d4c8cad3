// The mesh as this device knows it: the live records of the channel, with what vm1905.json adds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "data_model.h"
#include "mac.h"
#include "vm1905_client.h"

inline constexpr size_t kMaxPlaces = 1024;  // devices of a mesh, far above any real one

struct Interface {
    Mac mac;
    std::string name;   // empty: nobody told it
    std::string media;  // such as "IEEE 802.3ab"; empty: unknown
    uint16_t mediaType = 0;
    bool isAccessPoint = false;
    std::optional<uint8_t> power;   // 0 on, 1 power save, 2 off, 3 unsupported
    std::optional<uint8_t> status;  // of own interfaces
    uint32_t age = 0;               // likewise: seconds since its last change
};

// Another device or a host that a device hears on one of its interfaces.
struct Heard {
    Mac localIntf;
    Mac mac;  // AL MAC of a device, or the MAC of a host that is none
    bool isDevice = false;
    std::optional<bool> bridge;  // whether an 802.1 bridge is in between
    Mac intf;                    // of the device; zero: not told
    std::string media;           // of the other end
    std::optional<WifiLink> wifi;
    std::optional<vm1905_link> metric;  // of own links
};

struct Device {
    Mac alMac;
    bool isOwn = false;
    bool isStranger = false;  // only others tell that there is such a device
    std::string name;         // empty: nobody told it
    const ModelDevice* model = nullptr;
    std::vector<Interface> interfaces;
    std::vector<Heard> heard;
    std::vector<std::vector<Mac>> bridges;

    std::string called() const { return name.empty() ? alMac.text() : name; }
    const Interface* intf(const Mac& mac) const;
    // The interface that a person means, by its name or MAC. Throws Failure without one.
    const Interface& namedIntf(const std::string& given) const;
};

struct Mesh {
    vm1905_al al{};
    vm1905_topology topology{};
    std::vector<Device> devices;  // this one first

    const Device* find(const Mac& alMac) const;
    // Adds the devices that others hear and this daemon does not, as records of their own,
    // as long as there are no more than kMaxPlaces.
    void addStrangers();
    // The AL MAC of the device that has this interface; nothing when none is known to.
    std::optional<Mac> ownerOf(const Mac& intf) const;
};

// The name of an interface, else its MAC; nothing for the zero MAC.
std::string portName(const Device& device, const Mac& intf);
std::string mediaName(uint16_t mediaType);

// Asks the daemon for the whole. The model must outlive the result. Throws Failure.
Mesh readMesh(vm1905_client* client, const DataModel& model, const std::string& ownName);
// Only this device, without its links.
Device readOwnDevice(vm1905_client* client, const DataModel& model, const vm1905_al& al,
                     const std::string& ownName);
