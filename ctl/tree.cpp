#include "tree.h"

#include <algorithm>
#include <bitset>
#include <deque>
#include <map>
#include <set>
#include <utility>

namespace {

using Set = std::bitset<kMaxPlaces>;

struct Port {
    Mac mac;
    bool isAccessPoint = false;
    Set heard{};
    Set inexact{};               // of those, devices of which it is not known which port is heard
    std::set<Mac> heardPorts{};  // of the others

    // Whether it hears this port of the device, as far as it is known.
    bool hears(size_t device, const Mac& port) const {
        return heard.test(device) &&
               (inexact.test(device) || port.isZero() || heardPorts.contains(port));
    }
};

class Network {
  public:
    explicit Network(const Mesh& mesh)
        : ports_(mesh.devices.size()), heard_(mesh.devices.size()), ways_(mesh.devices.size()) {
        std::map<Mac, size_t> numbers;
        for (size_t i = 0; i < mesh.devices.size(); i++) numbers[mesh.devices[i].alMac] = i;
        for (size_t i = 0; i < mesh.devices.size(); i++) {
            const Device& device = mesh.devices[i];
            for (const Heard& heard : device.heard) {
                const auto other = numbers.find(heard.mac);
                if (!heard.isDevice || other == numbers.end() || other->second == i) continue;
                heard_[i].set(other->second);
                Port& port = portOf(i, device, heard.localIntf);
                port.heard.set(other->second);
                // An address of the device that is no port, such as that of its bridge, is no help.
                if (!heard.isExact || mesh.devices[other->second].intf(heard.intf) == nullptr) {
                    port.inexact.set(other->second);
                    continue;
                }
                port.heardPorts.insert(heard.intf);
                if (device.isOwn) ownPorts_[heard.intf].insert(heard.localIntf);
            }
        }
        for (size_t i = 0; i < mesh.devices.size(); i++) {
            if (mesh.devices[i].isOwn) findWays(i);
        }
    }

    // kMutual: each end reports the other, unless it reports nothing at all yet. kAny: one end
    // does.
    enum class Reports { kMutual, kAny };

    struct Link {
        bool exists = false;
        Mac a, b;  // the ports; zero: unknown
    };

    bool isHeard(size_t a, size_t b) const { return heard_[a].test(b) || heard_[b].test(a); }

    // The direct link between two devices. In a bridged ring they may hear each other on several
    // pairs of ports; one pair without a device in between is enough. Of several such pairs, the
    // link is the one that agrees with what this device hears, then the one on which the fewest
    // other devices are heard.
    Link directLink(size_t a, size_t b, Reports reports = Reports::kMutual) const {
        Link best;
        std::pair<size_t, size_t> least{SIZE_MAX, 0};
        if (!isHeard(a, b)) return best;
        if (reports == Reports::kMutual && (isDenied(a, b) || isDenied(b, a))) return best;
        const auto rights = portsTo(b, a);
        for (const Port* left : portsTo(a, b)) {
            for (const Port* right : rights) {
                if (!left->hears(b, right->mac) || !right->hears(a, left->mac)) continue;
                const std::pair objections{size_t{isElsewhere(a, *left, b, *right)} +
                                               size_t{isElsewhere(b, *right, a, *left)},
                                           left->heard.count() + right->heard.count()};
                if (objections >= least || hasDeviceBetween(a, *left, b, *right)) continue;
                least = objections;
                best = {true, left->mac, right->mac};
            }
        }
        return best;
    }

    // Whether the host that these devices hear is attached directly to this device's port.
    bool isNext(size_t device, const Mac& port, const std::map<size_t, Mac>& hearers) const {
        for (const Port& own : ports_[device]) {
            if (own.mac != port) continue;
            return std::ranges::none_of(hearers, [&](const auto& other) {
                if (other.first == device || !own.heard.test(other.first)) return false;
                // The other is in between if it hears the host and the device on different ports.
                return std::ranges::none_of(ports_[other.first], [&](const Port& theirs) {
                    return theirs.mac == other.second && theirs.heard.test(device);
                });
            });
        }
        return true;
    }

  private:
    Port& portOf(size_t device, const Device& record, const Mac& mac) {
        auto& ports = ports_[device];
        const auto found = std::ranges::find(ports, mac, &Port::mac);
        if (found != ports.end()) return *found;
        const Interface* const intf = record.intf(mac);
        ports.push_back({.mac = mac, .isAccessPoint = intf != nullptr && intf->isAccessPoint});
        return ports.back();
    }

    std::vector<const Port*> portsTo(size_t device, size_t other) const {
        std::vector<const Port*> found;
        for (const Port& port : ports_[device]) {
            if (port.heard.test(other)) found.push_back(&port);
        }
        // A device that does not report this link may hear any device on it.
        if (found.empty()) found.push_back(&unreported_);
        return found;
    }

    // Whether a device reports others, but not this one.
    bool isDenied(size_t by, size_t other) const {
        return heard_[by].any() && !heard_[by].test(other);
    }

    bool hasDeviceBetween(size_t a, const Port& left, size_t b, const Port& right) const {
        const Set both = left.heard & right.heard;
        // A device that does not report this link may hear on it what it hears elsewhere.
        Set either = (left.mac.isZero() ? heard_[a] : left.heard) |
                     (right.mac.isZero() ? heard_[b] : right.heard);
        either.reset(a).reset(b);
        for (size_t y = 0; y < ports_.size(); y++) {
            if (either.test(y) && separates(ports_[y], a, b, both.test(y))) return true;
        }
        return false;
    }

    // Whether a device with these ports is between a and b: it hears them on different ports only.
    // If both hear the device on this link, then one such port is enough, as in a bridged ring, or
    // that they are stations of the same access point.
    static bool separates(const std::vector<Port>& ports, size_t a, size_t b, bool isHeardByBoth) {
        size_t onlyA = 0, onlyB = 0, both = 0, stations = 0;
        for (const Port& port : ports) {
            const bool hearsA = port.heard.test(a), hearsB = port.heard.test(b);
            onlyA += hearsA && !hearsB;
            onlyB += hearsB && !hearsA;
            both += hearsA && hearsB;
            stations += hearsA && hearsB && port.isAccessPoint;
        }
        if (both == 0) return onlyA > 0 && onlyB > 0;
        return isHeardByBoth && onlyA + onlyB + stations > 0;
    }

    // How this device reaches another.
    struct Way {
        size_t hops = SIZE_MAX;
        Mac ownPort;
    };

    void findWays(size_t own) {
        ways_[own].hops = 0;
        std::deque<size_t> waiting{own};
        for (; !waiting.empty(); waiting.pop_front()) {
            const size_t device = waiting.front();
            for (size_t other = 0; other < ways_.size(); other++) {
                if (ways_[other].hops != SIZE_MAX) continue;
                const Link link = directLink(device, other);
                if (!link.exists) continue;
                ways_[other] = {ways_[device].hops + 1,
                                device == own ? link.a : ways_[device].ownPort};
                waiting.push_back(other);
            }
        }
    }

    // Whether this device hears the far port, but not on its way to the near device. Only this
    // device knows which port of another it hears; the others report devices.
    bool isElsewhere(size_t near, const Port& nearPort, size_t far, const Port& farPort) const {
        const auto hearing = ownPorts_.find(farPort.mac);
        if (hearing == ownPorts_.end() || ways_[near].hops > ways_[far].hops) return false;
        const Mac& way = ways_[near].hops == 0 ? nearPort.mac : ways_[near].ownPort;
        return !way.isZero() && !hearing->second.contains(way);
    }

    const Port unreported_{{}, false, Set().set(), Set().set(), {}};
    std::vector<std::vector<Port>> ports_;
    std::vector<Set> heard_;
    std::vector<Way> ways_;
    std::map<Mac, std::set<Mac>> ownPorts_;  // on which this device hears a port of another
};

const Heard* recordOf(const Device& device, const Mac& other, const Mac& port) {
    const Heard* best = nullptr;
    for (const Heard& heard : device.heard) {
        if (heard.mac != other || (!port.isZero() && heard.localIntf != port)) continue;
        if (best == nullptr || heard.wifi || heard.metric) best = &heard;
    }
    return best;
}

class Planter {
  public:
    Planter(const Mesh& mesh, const Device& root)
        : mesh_(mesh), network_(mesh), placed_(mesh.devices.size(), -1) {
        put(static_cast<size_t>(&root - mesh.devices.data()), -1, {}, true);
        grow();
        while (attachOneSided() || attachUncertain()) grow();
        for (size_t i = 0; i < mesh.devices.size(); i++) {
            if (placed_[i] < 0) {
                put(i, -1, {}, false);
                places_.back().depth = 1;
            }
        }
        addRingLinks();
    }

    void addHosts() {
        std::map<Mac, std::map<size_t, Mac>> hosts;  // host -> device that hears it -> port
        for (size_t i = 0; i < mesh_.devices.size(); i++) {
            for (const Heard& heard : mesh_.devices[i].heard) {
                if (!heard.isDevice && !mesh_.ownerOf(heard.mac)) {
                    hosts[heard.mac].emplace(i, heard.localIntf);
                }
            }
        }
        for (const auto& [mac, hearers] : hosts) {
            const auto& all = hearers;  // not every compiler captures structured bindings
            auto chosen = std::ranges::find_if(all, [&](const auto& hearer) {
                return network_.isNext(hearer.first, hearer.second, all);
            });
            const bool isCertain = chosen != hearers.end();
            if (!isCertain) chosen = hearers.begin();
            const Device& device = mesh_.devices[chosen->first];
            const int parent = placed_[chosen->first];
            Place place;
            place.device = &device;
            place.isHost = true;
            place.mac = mac;
            place.parent = parent;
            place.depth = places_[static_cast<size_t>(parent)].depth + 1;
            place.isCertain = isCertain;
            place.parentPort = chosen->second;
            place.fromParent = recordOf(device, mac, chosen->second);
            places_.push_back(place);
        }
    }

    // Each place before its children.
    std::vector<Place> inDrawingOrder() const {
        std::vector<Place> out;
        for (size_t i = 0; i < places_.size(); i++) {
            if (places_[i].parent < 0) draw(i, -1, out);
        }
        return out;
    }

  private:
    void put(size_t device, int parent, const Network::Link& link, bool isCertain) {
        Place place;
        place.device = &mesh_.devices[device];
        place.mac = place.device->alMac;
        place.parent = parent;
        place.isCertain = isCertain;
        if (parent >= 0) {
            const Place& above = places_[static_cast<size_t>(parent)];
            place.depth = above.depth + 1;
            place.fromParent = recordOf(*above.device, place.mac, link.a);
            place.fromChild = recordOf(*place.device, above.mac, link.b);
            place.parentPort = link.a;
            place.port = link.b;
            if (link.a.isZero() && place.fromParent) place.parentPort = place.fromParent->localIntf;
            if (link.b.isZero() && place.fromChild) place.port = place.fromChild->localIntf;
        }
        placed_[device] = static_cast<int>(places_.size());
        places_.push_back(place);
        waiting_.push_back(device);
    }

    // Breadth first, so that each device is as near to the root as possible.
    void grow() {
        while (!waiting_.empty()) {
            const size_t device = waiting_.front();
            waiting_.pop_front();
            for (size_t other = 0; other < placed_.size(); other++) {
                if (placed_[other] >= 0) continue;
                const auto link = network_.directLink(device, other);
                if (link.exists) put(other, placed_[device], link, true);
            }
        }
    }

    // Places a device that is reported by a neighbor only, or reports the neighbor only: the other
    // end does not hear it yet, or its report is old.
    bool attachOneSided() {
        // The places before have no such link to any device that is left.
        for (; oneSided_ < places_.size(); oneSided_++) {
            const Device* const at = places_[oneSided_].device;
            const auto device = static_cast<size_t>(at - mesh_.devices.data());
            for (size_t other = 0; other < placed_.size(); other++) {
                if (placed_[other] >= 0) continue;
                const auto link = network_.directLink(device, other, Network::Reports::kAny);
                if (!link.exists) continue;
                put(other, placed_[device], link, true);
                return true;
            }
        }
        return false;
    }

    bool attachUncertain() {
        for (size_t other = 0; other < placed_.size(); other++) {
            for (size_t device = 0; placed_[other] < 0 && device < placed_.size(); device++) {
                if (placed_[device] < 0 || !network_.isHeard(device, other)) continue;
                put(other, placed_[device], {}, false);
                return true;
            }
        }
        return false;
    }

    void addRingLinks() {
        for (size_t i = 0; i < placed_.size(); i++) {
            for (size_t j = 0; j < placed_.size(); j++) {
                if (placed_[i] <= placed_[j]) continue;
                Place& place = places_[static_cast<size_t>(placed_[i])];
                if (place.parent == placed_[j] || !network_.directLink(i, j).exists) continue;
                // Children of one parent share a switch or a radio rather than a cable.
                const bool areSiblings =
                    place.parent == places_[static_cast<size_t>(placed_[j])].parent;
                if (!areSiblings) place.alsoLinked.push_back(&mesh_.devices[j]);
            }
        }
    }

    void draw(size_t index, int parent, std::vector<Place>& out) const {
        Place place = places_[index];
        place.parent = parent;
        const auto number = static_cast<int>(out.size());
        out.push_back(place);
        for (size_t i = 0; i < places_.size(); i++) {
            if (places_[i].parent == static_cast<int>(index)) draw(i, number, out);
        }
    }

    const Mesh& mesh_;
    Network network_;
    std::vector<int> placed_;  // device -> index of its place; -1: none yet
    std::vector<Place> places_;
    std::deque<size_t> waiting_;
    size_t oneSided_ = 0;
};

}  // namespace

std::vector<Place> placeMesh(const Mesh& mesh, const Device& root, bool withHosts) {
    Planter planter(mesh, root);
    if (withHosts) planter.addHosts();
    return planter.inDrawingOrder();
}

std::vector<std::string> branchesOf(const std::vector<Place>& places, bool hasUnicode) {
    const char* const kLast = hasUnicode ? "└── " : "`-- ";
    const char* const kOther = hasUnicode ? "├── " : "|-- ";
    const char* const kPassing = hasUnicode ? "│   " : "|   ";
    std::vector<std::string> out(places.size());
    std::vector<bool> goesOn;  // by depth: whether a later place has the same parent
    for (size_t i = places.size(); i-- > 0;) {
        const size_t depth = places[i].depth;
        const bool hasLater = depth < goesOn.size() && goesOn[depth];
        for (size_t level = 1; level < depth; level++) {
            out[i] += level < goesOn.size() && goesOn[level] ? kPassing : "    ";
        }
        if (depth > 0) out[i] += hasLater ? kOther : kLast;
        goesOn.resize(depth + 1, false);
        goesOn[depth] = true;
    }
    return out;
}
