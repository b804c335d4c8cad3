#include "publish/json_device.h"

#include <algorithm>

#include "base/result.h"
#include "db/database.h"
#include "db/options.h"
#include "platform/autoconfig.h"
#include "publish/json_device_info.h"
#include "publish/labels.h"

namespace {

// The near end of a link.
struct LocalIntf {
    std::string reference;
    LinkEnd end;
};

// The interface of the device with this MAC. The reference is empty if the device lists neighbors
// on an interface that it does not list itself.
LocalIntf findLocalIntf(const Ieee1905DevTable& dev, const MacAddr& mac) {
    size_t number = 0;
    for (const auto& intf : dev.intfs) {
        number++;
        if (intf.mac != mac) continue;
        return {"Interface." + std::to_string(number), {mac, intf.mediaType}};
    }
    return {"", {.mac = mac}};
}

// In GHz, 0 if the medium is not Wi-Fi. The two ends of a link may report different standards.
int bandOf(uint32_t mediaType) {
    switch (mediaType) {
        case 0x0100:  // b
        case 0x0101:  // g
        case 0x0103:  // n
            return 2;
        case 0x0102:  // a
        case 0x0104:  // n
        case 0x0105:  // ac
            return 5;
        case 0x0106:  // ad
            return 60;
        case 0x0107:  // af
            return 1;
        default:
            return 0;
    }
}

void writeWifiLink(JsonWriter& out, const WifiClient& client) {
    out.number("RATE", client.rate);
    out.number("RSSI", client.rssi);
    out.number("SignalLevel", client.signalLevel);
    out.text("Tx", client.tx);
    out.text("Rx", client.rx);
    out.text("ConnType", client.connType);
}

void writeIeee1905Nbr(JsonWriter& out, size_t number, std::string_view localIntf,
                      const Ieee1905Nbr& nbr, const LinkEnd& nbrIntf, const WifiClient* client) {
    out.beginObject("IEEE1905Neighbor.", number);
    out.text("LocalInterface", localIntf);
    out.mac("NeighborDeviceId", nbr.alMac);
    out.mac("NeighborInterfaceId", nbrIntf.mac);
    out.text("MediaType", ieee1905NbrMediaLabel(nbrIntf.mediaType,
                                                client != nullptr ? client->connType.view() : ""));
    if (client != nullptr) writeWifiLink(out, *client);
    out.boolean("IEEE802dot1Bridge", nbr.bridgeFlag != 0);
    out.end();
}

// One object for each entry of the lists.
void writeIeee1905Nbrs(JsonWriter& out, const Ieee1905DevTable& dev,
                       const std::vector<LinkEnd>& farEnds) {
    size_t number = 0;
    auto farEnd = farEnds.begin();
    FreeClients clients;
    for (const auto& client : dev.wifiClients) {
        // A zero owner marks a station that is no 1905 device.
        if (!client.ownerAlMac.isZero()) clients.push_back(&client);
    }
    for (const auto& list : dev.ieee1905Lists) {
        const auto [reference, local] = findLocalIntf(dev, list.localIntfMac);
        for (const auto& nbr : list.nbrs) {
            const LinkEnd& far = *farEnd++;
            if (checkIeee1905NbrIsWIFI(out, clients, nbr, number, reference, local.mediaType,
                                       far.mac) == 0) {
                writeIeee1905Nbr(out, ++number, reference, nbr, far, nullptr);
            }
        }
    }
}

void writeNon1905Nbrs(JsonWriter& out, const Ieee1905DevTable& dev,
                      const std::vector<bool>& hosts) {
    size_t number = 0;
    auto isHost = hosts.begin();
    for (const auto& list : dev.non1905Lists) {
        const LocalIntf local = findLocalIntf(dev, list.localIntfMac);
        for (const auto& mac : list.nbrs) {
            if (!*isHost++) continue;
            const WifiClient* client = nullptr;
            checkIntfMacMediaType(dev, mac, client);
            out.beginObject("NonIEEE1905Neighbor.", ++number);
            out.text("LocalInterface", local.reference);
            out.mac("NeighborInterfaceId", mac);
            if (client != nullptr) {
                out.text("MediaType", non1905NbrMediaLabel(client->mediaType, client->connType));
                writeWifiLink(out, *client);
            } else {
                // A neighbor that is no station has the media type of the interface.
                out.text("MediaType", non1905NbrMediaLabel(local.end.mediaType, ""));
            }
            out.end();
        }
    }
}

void writeIntfs(JsonWriter& out, const Ieee1905DevTable& dev) {
    size_t number = 0;
    for (const auto& intf : dev.intfs) {
        out.beginObject("Interface.", ++number);
        out.text("InterfaceName", intf.name.empty() ? "Unknown" : intf.name.view());
        out.mac("InterfaceId", intf.mac);
        out.text("MediaType", intfMediaLabel(intf.mediaType, intf.name));
        out.text("PowerState", pwrStateLabel(intf.pwrState));
        out.end();
    }
}

void writeBrdgTuples(JsonWriter& out, const Ieee1905DevTable& dev) {
    size_t number = 0;
    for (const auto& tuple : dev.brdgTuples) {
        out.beginObject("BridgingTuple.", ++number);
        out.key("InterfaceList");
        out.append("[ ");
        std::string_view separator;
        for (const auto& mac : tuple.macs) {
            out.append(separator).append(mac);
            separator = ", ";
        }
        out.append(" ]");
        out.end();
    }
}

}  // namespace

Hearings::Hearings(const AlTable& al, const TopolTable& topol) {
    numbers_.reserve(topol.devs.size() + 1);
    numbers_.emplace(al.alMac, 0);
    size_t number = 0;
    for (const auto& dev : topol.devs) numbers_.emplace(dev.alMac, ++number);
    of_.resize(number + 1);
    for (const auto& intf : al.intfs) {
        for (const auto& nbr : intf.nbrs) {
            if (nbr.is1905) add(nbr.nbrAlMac, {0, nbr.nbrIntfMac, {intf.mac, intf.mediaType}});
        }
    }
    size_t by = 0;
    for (const auto& dev : topol.devs) {
        by++;
        for (const auto& list : dev.ieee1905Lists) {
            const LinkEnd intf = findLocalIntf(dev, list.localIntfMac).end;
            for (const auto& nbr : list.nbrs) add(nbr.alMac, {by, {}, intf});
        }
    }
}

size_t Hearings::numberOf(const MacAddr& alMac) const {
    const auto number = numbers_.find(alMac);
    return number != numbers_.end() ? number->second : kUnknown;
}

void Hearings::add(const MacAddr& heard, const Hearing& hearing) {
    const size_t number = numberOf(heard);
    if (number == kUnknown) return;
    // A list may name a device many times.
    auto& all = of_[number];
    const auto isSame = [&](const Hearing& other) {
        return other.heardIntf == hearing.heardIntf && other.intf.mac == hearing.intf.mac;
    };
    if (!all.empty() && all.back().by == hearing.by && isSame(all.back())) return;
    if (all.size() >= kMostIntfs && all[all.size() - kMostIntfs].by == hearing.by) return;
    all.push_back(hearing);
}

LinkEnd Hearings::intfOf(size_t by, size_t heard, const LinkEnd& on, size_t nth) const {
    LinkEnd best;
    int bestFit = -1;
    size_t equals = 0;
    const auto& hearings = of_[heard];
    auto it = std::ranges::lower_bound(hearings, by, {}, &Hearing::by);
    for (; it != hearings.end() && it->by == by; ++it) {
        const int fit =
            (it->heardIntf == on.mac ? 2 : 0) + (it->intf.mediaType == on.mediaType ? 1 : 0);
        if (fit < bestFit) continue;
        equals = fit == bestFit ? equals + 1 : 0;
        if (fit > bestFit || equals == nth) best = it->intf;
        bestFit = fit;
    }
    return best;
}

int checkIntfMacMediaType(const Ieee1905DevTable& dev, const MacAddr& mac,
                          const WifiClient*& client) {
    for (const auto& candidate : dev.wifiClients) {
        if (candidate.mac != mac) continue;
        client = &candidate;
        break;
    }
    return kOk;
}

int checkIeee1905NbrIsWIFI(JsonWriter& out, FreeClients& clients, const Ieee1905Nbr& nbr,
                           size_t& number, std::string_view localIntf, uint32_t mediaType,
                           const MacAddr& nbrIntfMac) {
    if (bandOf(mediaType) == 0) return 0;
    auto chosen = clients.end();
    for (auto it = clients.begin(); it != clients.end(); ++it) {
        if ((*it)->ownerAlMac != nbr.alMac || bandOf((*it)->mediaType) != bandOf(mediaType)) {
            continue;
        }
        if (chosen == clients.end() || (*it)->mac == nbrIntfMac) chosen = it;
    }
    if (chosen == clients.end()) return 0;
    const WifiClient& client = **chosen;
    clients.erase(chosen);
    writeIeee1905Nbr(out, ++number, localIntf, nbr, {client.mac, client.mediaType}, &client);
    return 1;
}

std::vector<LinkEnd> Hearings::farEndsOf(const Ieee1905DevTable& dev) const {
    std::vector<LinkEnd> ends;
    ends.reserve(dev.ieee1905NbrNum());
    struct Links {
        size_t list = 0;  // number of the last list that names the device
        size_t count = 0;
    };
    std::vector<Links> links(of_.size());  // so far, by device
    const size_t number = numberOf(dev.alMac);
    size_t listNumber = 0;
    for (const auto& list : dev.ieee1905Lists) {
        const LinkEnd local = findLocalIntf(dev, list.localIntfMac).end;
        listNumber++;
        for (const auto& nbr : list.nbrs) {
            const size_t by = numberOf(nbr.alMac);
            if (by == kUnknown) {
                ends.emplace_back();
                continue;
            }
            if (links[by].list != listNumber) links[by] = {listNumber, 0};
            ends.push_back(intfOf(by, number, local, links[by].count++));
        }
    }
    return ends;
}

std::vector<bool> hostsAmongNbrs(const Ieee1905DevTable& dev) {
    std::vector<bool> hosts;
    hosts.reserve(dev.non1905NbrNum());
    for (const auto& list : dev.non1905Lists) {
        for (const auto& mac : list.nbrs) hosts.push_back(!isMeshMac(mac));
    }
    return hosts;
}

std::optional<int> authorizationOf(const AlTable& al, const Ieee1905DevTable& dev) {
    if (al.role() != PLATFORM_REGISTRAR) return {};
    return checkMACisApprove(dev.alMac.data(), dev.hostname.c_str());
}

std::optional<bool> standardModeOf(const Ieee1905DevTable& dev) {
    const NbrDev* nbr = getStandardOption() ? findNbrDev(dev.alMac) : nullptr;
    if (nbr == nullptr) return {};
    return nbr->version == 0;
}

void beginIeee1905Device(JsonWriter& out, const Ieee1905DevTable& dev,
                         const Surroundings& surroundings, size_t number) {
    const auto hostNum = std::ranges::count(surroundings.hosts, true);
    out.beginObject("IEEE1905Device.", number);
    out.mac("IEEE1905Id", dev.alMac);
    out.number("InterfaceNumberOfEntries", static_cast<int64_t>(dev.intfs.size()));
    out.number("NonIEEE1905NeighborNumberOfEntries", hostNum);
    out.number("IEEE1905NeighborNumberOfEntries", static_cast<int64_t>(dev.ieee1905NbrNum()));
    out.number("BridgingTupleNumberOfEntries", static_cast<int64_t>(dev.brdgTuples.size()));
    out.text("FirmwareState", firmwareStateLabel(dev.firmwareState));
    out.text("FirmwareVersion", dev.firmwareVersion);
    out.text("Hostname", dev.hostname);
    out.text("DeviceIP", dev.deviceIP);
    out.text("DeviceLANMac", dev.deviceLanMac);
    out.text("DeviceMode", dev.deviceMode);
    writeReleaseAndLed(out, dev.releaseVersion, dev.releaseVersionGit, dev.info);
    out.text("DeviceType", roleLabel(dev.role));
    out.text("DaisychainOption", dev.info.daisychainOption);
    writeSettings(out, dev.buildNumber, dev.info);
    if (surroundings.authorized) out.quotedNumber("Authorized", *surroundings.authorized);
    if (surroundings.standardMode) out.boolean("StandardMode", *surroundings.standardMode);
    writeChannels(out, dev.info);
    out.text("DeviceUptime", dev.deviceUptime);
    writeAddressesAndVersions(out, dev.info);
    out.leave();
}

void endIeee1905Device(JsonWriter& out, const Ieee1905DevTable& dev,
                       const Surroundings& surroundings) {
    out.reenter();
    writeIntfs(out, dev);
    writeNon1905Nbrs(out, dev, surroundings.hosts);
    writeIeee1905Nbrs(out, dev, surroundings.farEnds);
    writeBrdgTuples(out, dev);
    out.end();
}
