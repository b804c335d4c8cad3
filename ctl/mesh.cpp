#include "mesh.h"

#include <arpa/inet.h>
#include <ifaddrs.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <map>
#include <memory>
#include <system_error>

#include "failure.h"
#include "table.h"

namespace {

// A device may leave the network while its tables are read: they then end here.
int endIfGone(int result) {
    const bool isGone =
        result == VM1905_NO_DEVICE || result == VM1905_NO_OWN_INTF || result == VM1905_NO_TABLE;
    return isGone ? VM1905_BAD_INDEX : result;
}

// An answer has only the low byte of the media type. The length of the media-specific information
// shows which kind of medium it is.
uint16_t fullMediaType(const vm1905_dev_intf& intf) {
    constexpr uint8_t kWifiInfo = 10, kPowerLineInfo = 7;
    const uint16_t kind = intf.media_length == kWifiInfo        ? 0x0100
                          : intf.media_length == kPowerLineInfo ? 0x0200
                                                                : 0;
    return static_cast<uint16_t>(kind | intf.media_type);
}

bool isAccessPoint(const vm1905_dev_intf& intf) {
    constexpr uint8_t kWifiInfo = 10, kRoleAt = 6;
    // The upper half of the byte after the BSSID: 0 access point, 4 station, ...
    return intf.media_length == kWifiInfo && intf.media_info[kRoleAt] >> 4 == 0;
}

Interface interfaceOf(const ModelDevice* model, const Mac& mac, uint16_t mediaType) {
    Interface intf;
    intf.mac = mac;
    intf.mediaType = mediaType;
    const ModelInterface* const known = model == nullptr ? nullptr : model->intf(mac);
    if (known != nullptr) intf.name = known->name;
    intf.media = known != nullptr && !known->media.empty() ? known->media : mediaName(mediaType);
    return intf;
}

void readInterfaces(vm1905_client* client, Device& device) {
    const vm1905_mac alMac = device.alMac;
    vm1905_dev_intf answer;
    walkTable(
        "interfaces of a device",
        [&](uint8_t index) {
            return endIfGone(vm1905_get_dev_intf(client, &alMac, index, &answer));
        },
        [&] {
            Interface intf = interfaceOf(device.model, answer.mac, fullMediaType(answer));
            intf.isAccessPoint = isAccessPoint(answer);
            if (answer.pwr_state != 255) intf.power = answer.pwr_state;
            device.interfaces.push_back(std::move(intf));
        });
}

// Adds what vm1905.json has about this neighbor.
void enrich(Heard& heard, const ModelDevice* model) {
    if (model == nullptr) return;
    for (const ModelNeighbor& neighbor : model->neighbors) {
        const bool isSame = heard.isDevice ? neighbor.alMac == heard.mac
                                           : neighbor.alMac.isZero() && neighbor.intf == heard.mac;
        if (!isSame || (neighbor.localIntf != heard.localIntf && !neighbor.localIntf.isZero())) {
            continue;
        }
        heard.intf = neighbor.intf;
        heard.media = neighbor.media;
        heard.wifi = neighbor.wifi;
        return;
    }
}

void readNeighbors(vm1905_client* client, Device& device) {
    const vm1905_mac alMac = device.alMac;
    const auto add = [&](Heard heard) {
        enrich(heard, device.model);
        device.heard.push_back(std::move(heard));
    };
    vm1905_1905_nbrs answer;
    walkTable(
        "neighbors of a device",
        [&](uint8_t index) {
            return endIfGone(vm1905_get_dev_1905_nbrs(client, &alMac, index, &answer));
        },
        [&] {
            for (size_t i = 0; i < answer.num; i++) {
                Heard heard{answer.local_mac, answer.nbrs[i].al_mac, true, {}, {}, {}, {}, {}};
                heard.bridge = answer.nbrs[i].bridge != 0;
                add(std::move(heard));
            }
        });
    vm1905_non1905_nbrs hosts;
    walkTable(
        "hosts of a device",
        [&](uint8_t index) {
            return endIfGone(vm1905_get_dev_non1905_nbrs(client, &alMac, index, &hosts));
        },
        [&] {
            for (size_t i = 0; i < hosts.num; i++) {
                add({hosts.local_mac, hosts.macs[i], false, {}, {}, {}, {}, {}});
            }
        });
    vm1905_tuple tuple;
    walkTable(
        "bridges of a device",
        [&](uint8_t index) {
            return endIfGone(vm1905_get_dev_tuple(client, &alMac, index, &tuple));
        },
        [&] { device.bridges.emplace_back(tuple.macs, tuple.macs + tuple.num); });
}

// The bridge that an own interface is in; empty if in none.
std::string bridgeOf(const std::string& name) {
    const bool isName = !name.empty() && name.find('/') == std::string::npos;
    std::error_code error;
    const auto link =
        isName ? std::filesystem::read_symlink("/sys/class/net/" + name + "/brport/bridge", error)
               : std::filesystem::path();
    return link.filename().string();
}

// The IPv4 address of this device: that of its bridge, else of an interface.
std::string ownIp(const Device& own) {
    ifaddrs* all = nullptr;
    if (getifaddrs(&all) != 0) return {};
    const std::unique_ptr<ifaddrs, decltype(&freeifaddrs)> owner(all, freeifaddrs);
    const auto addressOf = [&](const std::string& name) -> std::string {
        for (const ifaddrs* entry = all; entry != nullptr; entry = entry->ifa_next) {
            if (name.empty() || name != entry->ifa_name || entry->ifa_addr == nullptr ||
                entry->ifa_addr->sa_family != AF_INET) {
                continue;
            }
            sockaddr_in address{};
            std::memcpy(&address, entry->ifa_addr, sizeof address);
            char text[INET_ADDRSTRLEN] = "";
            return inet_ntop(AF_INET, &address.sin_addr, text, sizeof text) == nullptr ? "" : text;
        }
        return {};
    };
    for (const auto member : {&Interface::bridge, &Interface::name}) {
        for (const Interface& intf : own.interfaces) {
            if (std::string ip = addressOf(intf.*member); !ip.empty()) return ip;
        }
    }
    return {};
}

void addOwnBridges(Device& own) {
    std::map<std::string, std::vector<Mac>> bridges;
    for (const Interface& intf : own.interfaces) {
        if (!intf.bridge.empty()) bridges[intf.bridge].push_back(intf.mac);
    }
    for (auto& [name, macs] : bridges) own.bridges.push_back(std::move(macs));
}

// Adds when each device was last heard.
void readSilence(vm1905_client* client, Mesh& mesh) {
    vm1905_dev_silence answer;
    walkTable(
        "devices",
        [&](uint8_t index) { return endIfGone(vm1905_get_dev_silence(client, index, &answer)); },
        [&] {
            const auto device = std::ranges::find(mesh.devices, Mac(answer.al_mac), &Device::alMac);
            if (device != mesh.devices.end() && answer.is_known) device->silence = answer.seconds;
        });
}

// Adds who sends with the key of the mesh.
void readKeys(vm1905_client* client, Mesh& mesh) {
    check(vm1905_get_mesh_key(client, &mesh.key), "the key of the mesh");
    if (mesh.key.state == 0) return;
    mesh.devices.front().hasKey = mesh.key.state == 1;
    vm1905_dev_key answer;
    walkTable(
        "devices",
        [&](uint8_t index) { return endIfGone(vm1905_get_dev_key(client, index, &answer)); },
        [&] {
            const auto device = std::ranges::find(mesh.devices, Mac(answer.al_mac), &Device::alMac);
            if (device != mesh.devices.end()) device->hasKey = answer.state == 2;
        });
}

// Adds the neighbors of this device that have link metrics.
void readOwnLinks(vm1905_client* client, Mesh& mesh) {
    Device& own = mesh.devices.front();
    for (const Interface& intf : own.interfaces) {
        const vm1905_mac mac = intf.mac;
        uint16_t num = 0;
        const int result = endIfGone(vm1905_get_link_num(client, &mac, intf.mediaType, &num));
        if (result == VM1905_FAILED || result == VM1905_BAD_INDEX) continue;  // without metrics
        check(result, "links of " + portName(own, intf.mac));
        vm1905_link link;
        walkTable(
            "links of " + portName(own, intf.mac),
            [&](uint8_t index) {
                if (index >= num) return static_cast<int>(VM1905_BAD_INDEX);
                return endIfGone(vm1905_get_link(client, &mac, intf.mediaType, index, &link));
            },
            [&] {
                const auto owner = mesh.ownerOf(link.neighbor_mac);
                Heard heard{intf.mac,
                            owner.value_or(link.neighbor_mac),
                            owner.has_value(),
                            {},
                            link.neighbor_mac,
                            {},
                            {},
                            link};
                heard.bridge = link.bridge != 0;
                heard.isExact = true;
                own.heard.push_back(std::move(heard));
            });
    }
}

}  // namespace

const Interface* Device::intf(const Mac& mac) const {
    const auto found = std::ranges::find(interfaces, mac, &Interface::mac);
    return found == interfaces.end() ? nullptr : &*found;
}

const Interface& Device::namedIntf(const std::string& given) const {
    const auto mac = parseMac(given);
    const auto found = std::ranges::find_if(interfaces, [&](const Interface& intf) {
        return mac ? intf.mac == *mac : intf.name == given && !given.empty();
    });
    if (found != interfaces.end()) return *found;
    throw Failure{kUsage, called() + " has no interface " + given,
                  "to list them: vm1905ctl device " + alMac.text()};
}

void Mesh::addStrangers() {
    std::vector<Mac> strangers;
    for (const Device& device : devices) {
        for (const Heard& heard : device.heard) {
            const bool isNew = std::ranges::find(strangers, heard.mac) == strangers.end();
            if (heard.isDevice && isNew && find(heard.mac) == nullptr) {
                strangers.push_back(heard.mac);
            }
        }
    }
    for (const Mac& mac : strangers) {
        if (devices.size() >= kMaxPlaces) return;
        Device device;
        device.alMac = mac;
        device.isStranger = true;
        devices.push_back(std::move(device));
    }
}

void Mesh::completeLinks() {
    Device& own = devices.front();
    for (const Device& device : devices) {
        if (device.model == nullptr || device.isOwn) continue;
        for (const ModelNeighbor& neighbor : device.model->neighbors) {
            if (neighbor.alMac != own.alMac || own.intf(neighbor.intf) == nullptr) continue;
            Heard heard{neighbor.intf,      device.alMac, true,          {},
                        neighbor.localIntf, {},           neighbor.wifi, {}};
            // The file names one interface for all on which the other device hears this one unless
            // it knows better.
            heard.isExact =
                std::ranges::count_if(device.model->neighbors, [&](const ModelNeighbor& other) {
                    return other.alMac == own.alMac && other.intf == neighbor.intf;
                }) == 1;
            const auto known = std::ranges::find_if(own.heard, [&](const Heard& link) {
                return link.mac == device.alMac && link.localIntf == neighbor.intf;
            });
            if (known == own.heard.end()) {
                own.heard.push_back(std::move(heard));
            } else if (heard.isExact && known->intf != heard.intf) {
                known->isExact = false;
            }
        }
    }
    for (Device& device : devices) {
        for (Heard& heard : device.heard) {
            const auto owner = heard.isDevice ? std::nullopt : ownerOf(heard.mac);
            if (!owner) continue;
            heard.isDevice = heard.isExact = true;
            heard.intf = heard.mac;
            heard.mac = *owner;
        }
        std::erase_if(device.heard, [&](const Heard& heard) { return heard.mac == device.alMac; });
    }
}

const Device* Mesh::find(const Mac& alMac) const {
    const auto found = std::ranges::find(devices, alMac, &Device::alMac);
    return found == devices.end() ? nullptr : &*found;
}

std::optional<Mac> Mesh::ownerOf(const Mac& intf) const {
    for (const Device& device : devices) {
        if (device.alMac == intf || device.intf(intf) != nullptr) return device.alMac;
    }
    return {};
}

std::string portName(const Device& device, const Mac& intf) {
    if (intf.isZero()) return {};
    const Interface* const known = device.intf(intf);
    return known == nullptr || known->name.empty() ? intf.text() : known->name;
}

std::string mediaName(uint16_t mediaType) {
    switch (mediaType) {
        case 0x0000:
            return "IEEE 802.3u";
        case 0x0001:
            return "IEEE 802.3ab";
        case 0x0100:
            return "IEEE 802.11b";
        case 0x0101:
            return "IEEE 802.11g";
        case 0x0102:
            return "IEEE 802.11a";
        case 0x0103:
            return "IEEE 802.11n 2.4";
        case 0x0104:
            return "IEEE 802.11n 5.0";
        case 0x0105:
            return "IEEE 802.11ac";
        case 0x0106:
            return "IEEE 802.11ad";
        case 0x0107:
            return "IEEE 802.11af";
        case 0x0200:
            return "IEEE 1901 Wavelet";
        case 0x0201:
            return "IEEE 1901 FFT";
        case 0x0300:
            return "MoCAv1.1";
        default:
            return "";
    }
}

uint16_t mediaTypeOf(const std::string& name) {
    constexpr uint16_t kUnknown = 0xFFFF, kLast = 0x0300;
    for (uint16_t type = 0; !name.empty() && type <= kLast; type++) {
        if (mediaName(type) == name) return type;
    }
    return kUnknown;
}

Device readOwnDevice(vm1905_client* client, const DataModel& model, const vm1905_al& al,
                     const std::string& ownName) {
    Device own;
    own.alMac = al.al_mac;
    own.isOwn = true;
    own.name = ownName;
    own.model = model.own.alMac == own.alMac ? &model.own : nullptr;
    vm1905_intf answer;
    for (unsigned index = 0; index < al.intf_num; index++) {
        const int result = vm1905_get_intf(client, static_cast<uint8_t>(index), &answer);
        if (result == VM1905_FAILED) break;  // also the code past the end of the table
        check(result, "interfaces of this device");
        Interface intf = interfaceOf(own.model, answer.mac, answer.media_type);
        intf.power = answer.pwr_state;
        intf.status = answer.status;
        intf.age = answer.age;
        intf.bridge = bridgeOf(intf.name);
        own.interfaces.push_back(std::move(intf));
    }
    vm1905_identity identity{};
    check(vm1905_get_identity(client, &identity), "this device");
    own.ip = ownIp(own);
    own.firmware = identity.firmware;
    const auto lanMac = parseMac(identity.lan_mac);
    if (lanMac && !lanMac->isZero()) own.lanMac = lanMac->text();
    addOwnBridges(own);
    return own;
}

int readOption(vm1905_client* client, const Mac* device, uint8_t item, std::optional<bool>& value) {
    constexpr uint8_t kNotReported = 255;
    uint8_t found = 0;
    const vm1905_mac mac = device == nullptr ? Mac{} : *device;
    const int result = device == nullptr ? vm1905_get_option(client, item, &found)
                                         : vm1905_get_dev_option(client, &mac, item, &found);
    const bool isKnown = result == VM1905_OK && (device == nullptr || found != kNotReported);
    value = isKnown ? std::optional(found == 1) : std::nullopt;
    return result;
}

Mesh readMesh(vm1905_client* client, const DataModel& model, const std::string& ownName) {
    Mesh mesh;
    check(vm1905_get_al(client, &mesh.al), "this device");
    check(vm1905_get_topology(client, &mesh.topology), "the topology");
    mesh.devices.push_back(readOwnDevice(client, model, mesh.al, ownName));
    vm1905_dev answer;
    walkTable(
        "devices", [&](uint8_t index) { return endIfGone(vm1905_get_dev(client, index, &answer)); },
        [&] {
            if (mesh.find(answer.al_mac) != nullptr) return;  // it moved in the table
            Device device;
            device.alMac = answer.al_mac;
            device.model = model.find(device.alMac);
            if (device.model != nullptr) {
                device.name = device.model->text("Hostname");
                device.ip = device.model->text("DeviceIP");
                device.firmware = device.model->text("FirmwareVersion");
                device.lanMac = device.model->text("DeviceLANMac");
            }
            mesh.devices.push_back(std::move(device));
        });
    readKeys(client, mesh);
    readSilence(client, mesh);
    for (Device& device : mesh.devices) {
        if (device.isOwn) continue;
        readInterfaces(client, device);
        readNeighbors(client, device);
    }
    readOwnLinks(client, mesh);
    mesh.completeLinks();
    return mesh;
}
