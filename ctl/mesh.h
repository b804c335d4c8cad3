// The mesh as this device knows it: live records from the channel, and what vm1905.json adds.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "data_model.h"
#include "mac.h"
#include "vm1905_client.h"

inline constexpr size_t kMaxPlaces = 1024;  // devices in a tree, far more than any real mesh has

struct Interface {
    Mac mac;
    std::string name;   // empty: unknown
    std::string media;  // such as "IEEE 802.3ab"; empty: unknown
    uint16_t mediaType = 0;
    bool isAccessPoint = false;
    std::optional<uint8_t> power;   // 0 on, 1 power save, 2 off, 3 unsupported
    std::optional<uint8_t> status;  // own interfaces only
    uint32_t age = 0;               // own interfaces only: seconds since the last change
    std::string bridge{};           // own interfaces only; empty: in none

    bool isWifi() const { return mediaType >> 8 == 1; }
    bool isDown() const { return (status && *status != 0) || power == 2; }
};

// A device or host that a device hears on one of its interfaces.
struct Heard {
    Mac localIntf;
    Mac mac;  // AL MAC of a device, MAC of a host
    bool isDevice = false;
    std::optional<bool> bridge;  // whether there is an IEEE 802.1 bridge on the link
    Mac intf;                    // of the other end; zero: unknown
    std::string media;           // of the other end
    std::optional<WifiLink> wifi;
    std::optional<vm1905_link> metric;  // own links only
    bool isExact = false;               // it is this interface of the other end that is heard
};

struct Device {
    Mac alMac;
    bool isOwn = false;
    bool isStranger = false;       // only other devices hear it
    std::optional<bool> hasKey{};  // whether it sends with the key of the mesh, if that is used
    std::string name;              // empty: unknown
    const ModelDevice* model = nullptr;
    std::vector<Interface> interfaces;
    std::vector<Heard> heard;
    std::vector<std::vector<Mac>> bridges;
    std::optional<uint32_t> silence{};       // seconds since it was last heard
    std::string ip{}, firmware{}, lanMac{};  // empty: unknown

    std::string called() const { return name.empty() ? alMac.text() : name; }
    const Interface* intf(const Mac& mac) const;
    // The interface with this name or MAC. Throws Failure if there is none.
    const Interface& namedIntf(const std::string& given) const;
};

struct Mesh {
    vm1905_al al{};
    vm1905_topology topology{};
    vm1905_mesh_key key{};
    std::vector<Device> devices;  // this one first

    const Device* find(const Mac& alMac) const;
    // Adds the neighbors of this device, the first one, that vm1905.json knows. The channel has no
    // table of them: the file says on which own interface another device hears this one. Turns
    // hosts that are interfaces of devices, as bridges report them, into those devices.
    void completeLinks();
    // Adds the devices that only other devices hear, up to kMaxPlaces in all.
    void addStrangers();
    // The AL MAC of the device that has this interface; empty if none is known.
    std::optional<Mac> ownerOf(const Mac& intf) const;
};

// The name of an interface, else its MAC; empty for the zero MAC.
std::string portName(const Device& device, const Mac& intf);
std::string mediaName(uint16_t mediaType);
// The type with this name; 0xFFFF if there is none.
uint16_t mediaTypeOf(const std::string& name);

// Reads the whole mesh from the daemon. The model must outlive the result. Throws Failure.
Mesh readMesh(vm1905_client* client, const DataModel& model, const std::string& ownName);
// Reads this device alone, without its links.
Device readOwnDevice(vm1905_client* client, const DataModel& model, const vm1905_al& al,
                     const std::string& ownName);

// Reads an option (VM1905_OPTION_*) of a device, or of this one (nullptr); value is empty if it is
// unknown. Returns the result of the client library.
[[nodiscard]] int readOption(vm1905_client* client, const Mac* device, uint8_t item,
                             std::optional<bool>& value);
