#include "controller/mesh_news.h"

#include <algorithm>
#include <array>
#include <deque>
#include <set>
#include <string>
#include <string_view>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "base/text.h"
#include "db/database.h"
#include "db/device_table.h"
#include "publish/data_model_files.h"
#include "publish/json_writer.h"
#include "publish/labels.h"

namespace {

using Port = MeshNews::Port;
using Known = MeshNews::Known;

constexpr Seconds kSettleTime = 10;  // after which a new device or place is news
constexpr size_t kMostLinks =
    1024;  // with more of them moves are not logged: they take long to find
constexpr uint8_t kNoRole = 255;
constexpr size_t kMostLost = 64;

MeshNews& news() {
    return stateOf<MeshNews>();
}

// Which known devices are heard on which ports.
class Hearing {
  public:
    Hearing() {
        for (const auto& intf : getIntfTable()) {
            for (const auto& nbr : intf.nbrs) {
                if (nbr.is1905) add({*getAlMac(), intf.mac}, nbr.nbrAlMac);
            }
        }
        for (const auto& dev : getIeee1905DevTables()) {
            for (const auto& list : dev.ieee1905Lists) {
                for (const auto& nbr : list.nbrs) add({dev.alMac, list.localIntfMac}, nbr.alMac);
            }
        }
    }
    // False if there are too many links to find the places.
    bool isSmall() const { return links_ <= kMostLinks; }

    // Where each device is connected: a port of its neighbor on the shortest way to this device.
    // A device stays on its port as long as that is on such a way.
    std::map<MacAddr, Port> places() const {
        std::map<MacAddr, Port> found;
        std::map<MacAddr, size_t> hops{{*getAlMac(), 0}};
        std::deque<MacAddr> waiting{*getAlMac()};
        for (; !waiting.empty(); waiting.pop_front()) {
            const MacAddr near = waiting.front();
            forPortsOf(near, [&](const Port& port, const std::set<MacAddr>& devices) {
                for (const MacAddr& far : devices) {
                    if (!isNext(port, far)) continue;
                    const bool isNew = hops.emplace(far, hops[near] + 1).second;
                    if (isNew) waiting.push_back(far);
                    const auto known = news().devices.find(far);
                    const bool stays = known != news().devices.end() &&
                                       known->second.port == port && hops[far] == hops[near] + 1;
                    if (isNew || stays) found[far] = port;
                }
            });
        }
        return found;
    }

  private:
    // Anybody can claim to hear any number of devices.
    void add(const Port& port, const MacAddr& heard) {
        if (!isSmall() || (!news().devices.contains(heard) && !isOwnAlMac(heard))) return;
        if (heard_[port].insert(heard).second) links_++;
    }

    template <typename Act>
    void forPortsOf(const MacAddr& device, Act&& act) const {
        for (auto it = heard_.lower_bound({device, {}});
             it != heard_.end() && it->first.alMac == device; ++it) {
            act(it->first, it->second);
        }
    }

    // Whether no device that is heard on the port hears its owner and the far device on different
    // ports, and so is in between.
    bool isNext(const Port& port, const MacAddr& far) const {
        return std::ranges::none_of(heard_.at(port), [&](const MacAddr& other) {
            if (other == far) return false;
            bool hearsOwner = false, hearsFar = false, hearsBothOnOne = false;
            forPortsOf(other, [&](const Port&, const std::set<MacAddr>& devices) {
                const bool owner = devices.contains(port.alMac), end = devices.contains(far);
                hearsOwner |= owner;
                hearsFar |= end;
                hearsBothOnOne |= owner && end;
            });
            return hearsOwner && hearsFar && !hearsBothOnOne;
        });
    }

    std::map<Port, std::set<MacAddr>> heard_;
    size_t links_ = 0;
};

// "port eth1 of attic"
std::string portText(const Port& port) {
    const auto named = [&](const auto& intfs) {
        for (const auto& intf : intfs) {
            if (intf.mac == port.intfMac && !intf.name.view().empty()) {
                return plainText(intf.name.view());
            }
        }
        return macText(port.intfMac);
    };
    if (isOwnAlMac(port.alMac)) return "port " + named(getIntfTable()) + " of this device";
    const Ieee1905DevTable* dev = getIeee1905DevTableById(port.alMac);
    if (dev == nullptr) return "a port of " + macText(port.alMac);
    const std::string owner =
        dev->hostname.view().empty() ? macText(port.alMac) : std::string(dev->hostname.view());
    return "port " + named(dev->intfs) + " of " + owner;
}

// "attic (aa:bb:cc:dd:ee:ff)"
std::string deviceText(const MacAddr& alMac, const Known& known) {
    return known.name.empty() ? macText(alMac) : known.name + " (" + macText(alMac) + ")";
}

void logArrival(const MacAddr& alMac, Known& known) {
    known.hasJoined = true;
    known.port = known.nextPort;
    const std::string role =
        known.role == kNoRole ? "" : std::string(" as ") + roleLabel(known.role);
    const std::string place = known.port == Port{} ? "" : " on " + portText(known.port);
    LOG(2, "%s has joined%s%s\r\n", deviceText(alMac, known).c_str(), role.c_str(), place.c_str());
}

void logRole(const MacAddr& alMac, Known& known, uint8_t role) {
    if (role == kNoRole || role == known.role) return;
    if (known.hasJoined) {
        LOG(2, "%s now has the role %s\r\n", deviceText(alMac, known).c_str(), roleLabel(role));
    }
    known.role = role;
}

void logMove(const MacAddr& alMac, Known& known) {
    LOG(2, "%s has moved from %s to %s\r\n", deviceText(alMac, known).c_str(),
        portText(known.port).c_str(), portText(known.nextPort).c_str());
    known.port = known.nextPort;
}

// Notes where each device is now.
void notePlaces(Seconds time) {
    if (news().revision == topologyRevision()) return;
    news().revision = topologyRevision();
    const Hearing hearing;
    if (!hearing.isSmall()) return;
    for (const auto& [alMac, port] : hearing.places()) {
        const auto known = news().devices.find(alMac);
        if (known == news().devices.end() || known->second.nextPort == port) continue;
        known->second.nextPort = port;
        known->second.nextSince = time;
    }
}

void renderLost(const WritePieces& write) {
    JsonWriter out(0);
    out.begin();
    for (const auto& [alMac, name] : news().lost) out.text(macText(alMac), name);
    out.end();
    const std::string text = out.append("\n").take();
    write(std::array{std::string_view(text)}, "");
}

void rememberName(const MacAddr& alMac, const std::string& name) {
    if (name.empty()) return;
    auto& lost = news().lost;
    std::erase_if(lost, [&alMac](const auto& other) { return other.alMac == alMac; });
    lost.push_back({alMac, name});
    if (lost.size() > kMostLost) lost.pop_front();
    writeDataModelFile("vm1905_lost.json", renderLost);
}

void logDepartures(Seconds time) {
    auto& devices = news().devices;
    for (auto it = devices.begin(); it != devices.end();) {
        const auto& [alMac, known] = *it;
        if (known.seen == time) {
            ++it;
            continue;
        }
        if (known.hasJoined) LOG(2, "%s has left\r\n", deviceText(alMac, known).c_str());
        rememberName(alMac, known.name);
        it = devices.erase(it);
    }
}

}  // namespace

int logMeshNews() {
    if (getAlTable() == nullptr) return kOk;
    const Seconds time = now();
    for (const auto& dev : getIeee1905DevTables()) {
        const auto [entry, isNew] = news().devices.try_emplace(dev.alMac);
        Known& known = entry->second;
        if (isNew) known.since = time;
        known.seen = time;
        if (!dev.hostname.view().empty()) known.name = dev.hostname.view();
        logRole(dev.alMac, known, dev.role);
    }
    logDepartures(time);
    notePlaces(time);
    for (auto& [alMac, known] : news().devices) {
        const bool isSettled = time - known.nextSince >= kSettleTime;
        if (!known.hasJoined) {
            if (time - known.since >= kSettleTime) logArrival(alMac, known);
        } else if (known.port == Port{}) {
            known.port = known.nextPort;
        } else if (known.port != known.nextPort && isSettled) {
            logMove(alMac, known);
        }
    }
    return kOk;
}
