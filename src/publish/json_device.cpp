#include "publish/json_device.h"

#include <algorithm>
#include <unordered_set>

#include "base/result.h"
#include "platform/autoconfig.h"
#include "publish/json_device_info.h"
#include "publish/labels.h"

namespace {

// The near end of a link, as far as it is known.
struct LocalIntf {
    std::string reference;
    uint32_t mediaType = NbrIntf::kNoMediaType;
};

// The interface of the device with this MAC. The reference is empty if the device lists neighbors
// on an interface that it does not list itself.
LocalIntf findLocalIntf(const Ieee1905DevTable& dev, const MacAddr& mac) {
    size_t number = 0;
    for (const auto& intf : dev.intfs) {
        number++;
        if (intf.mac == mac) return {"Interface." + std::to_string(number), intf.mediaType};
    }
    return {};
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
                      const Ieee1905Nbr& nbr, const NbrIntf& nbrIntf, const WifiClient* client) {
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

void writeIeee1905Nbrs(JsonWriter& out, const DataModel& model, const Ieee1905DevTable& dev) {
    size_t number = 0;
    // The Wi-Fi links of a neighbor are written at its first entry. Every further entry of the
    // neighbor is another link.
    std::unordered_set<MacAddr> written;
    for (const auto& list : dev.ieee1905Lists) {
        const LocalIntf local = findLocalIntf(dev, list.localIntfMac);
        for (const auto& nbr : list.nbrs) {
            if (written.insert(nbr.alMac).second &&
                checkIeee1905NbrIsWIFI(out, dev, nbr, number, local.reference) > 0) {
                continue;
            }
            writeIeee1905Nbr(out, ++number, local.reference, nbr,
                             model.hearings.intfOf(nbr.alMac, dev.alMac, local.mediaType), nullptr);
        }
    }
}

void writeNon1905Nbrs(JsonWriter& out, const Ieee1905DevTable& dev) {
    size_t number = 0;
    for (const auto& list : dev.non1905Lists) {
        const LocalIntf local = findLocalIntf(dev, list.localIntfMac);
        for (const auto& mac : list.nbrs) {
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
                out.text("MediaType", non1905NbrMediaLabel(local.mediaType, ""));
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
    std::vector<Hearing>& own = heardBy_[al.alMac];
    for (const auto& intf : al.intfs) {
        for (const auto& nbr : intf.nbrs) {
            if (nbr.is1905) own.push_back({nbr.nbrAlMac.number(), {intf.mac, intf.mediaType}});
        }
    }
    for (const auto& dev : topol.devs) {
        std::vector<Hearing>& hearings = heardBy_[dev.alMac];
        for (const auto& list : dev.ieee1905Lists) {
            const NbrIntf intf{list.localIntfMac, findLocalIntf(dev, list.localIntfMac).mediaType};
            hearings.reserve(hearings.size() + list.nbrs.size());
            for (const auto& nbr : list.nbrs) hearings.push_back({nbr.alMac.number(), intf});
        }
    }
    for (auto& [by, hearings] : heardBy_) {
        std::stable_sort(hearings.begin(), hearings.end(), isBefore);
    }
}

NbrIntf Hearings::intfOf(const MacAddr& by, const MacAddr& heard, uint32_t mediaType) const {
    const auto hearings = heardBy_.find(by);
    if (hearings == heardBy_.end()) return {};
    const auto [begin, end] = std::equal_range(hearings->second.begin(), hearings->second.end(),
                                               Hearing{heard.number(), {}}, isBefore);
    const auto same = std::find_if(begin, end, [mediaType](const Hearing& hearing) {
        return hearing.intf.mediaType == mediaType;
    });
    if (same != end) return same->intf;
    return begin != end ? begin->intf : NbrIntf{};
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

int checkIeee1905NbrIsWIFI(JsonWriter& out, const Ieee1905DevTable& dev, const Ieee1905Nbr& nbr,
                           size_t& number, std::string_view localIntf) {
    int written = 0;
    // A zero owner marks a station that is no 1905 device.
    if (nbr.alMac.isZero()) return written;
    for (const auto& client : dev.wifiClients) {
        if (client.ownerAlMac != nbr.alMac) continue;
        writeIeee1905Nbr(out, ++number, localIntf, nbr, {client.mac, client.mediaType}, &client);
        written++;
    }
    return written;
}

void writeIeee1905Device(JsonWriter& out, const DataModel& model, const Ieee1905DevTable& dev,
                         size_t number) {
    out.beginObject("IEEE1905Device.", number);
    out.mac("IEEE1905Id", dev.alMac);
    out.number("InterfaceNumberOfEntries", static_cast<int64_t>(dev.intfs.size()));
    out.number("NonIEEE1905NeighborNumberOfEntries", static_cast<int64_t>(dev.non1905NbrNum()));
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
    if (model.al.role() == PLATFORM_REGISTRAR) {
        out.quotedNumber("Authorized", checkMACisApprove(dev.alMac.data(), dev.hostname.c_str()));
    }
    writeChannels(out, dev.info);
    out.text("DeviceUptime", dev.deviceUptime);
    writeAddressesAndVersions(out, dev.info);
    writeIntfs(out, dev);
    writeNon1905Nbrs(out, dev);
    writeIeee1905Nbrs(out, model, dev);
    writeBrdgTuples(out, dev);
    out.end();
}
