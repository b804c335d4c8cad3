#include "netctrl/picture.h"

#include <linux/neighbour.h>
#include <linux/rtnetlink.h>

#include <algorithm>

#include "common/conf.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/ethtool.h"
#include "netctrl/links.h"
#include "netctrl/netlink.h"
#include "netctrl/wireless.h"

namespace {

using NeighborMessage = NlMessage<ndmsg, NDA_MAX>;

// Counts travel as 8 bits.
constexpr size_t kMaxIntfs = 255;
// Far above any home; a forwarding table that somebody floods must not grow ours.
constexpr size_t kMaxNeighbors = 4096;

void describeMedia(const Picture& previous, Nl80211& wifi, Intf& intf) {
    const Intf* known = previous.byIndex(intf.index);
    if (known != nullptr && known->name != intf.name) known = nullptr;

    if (const auto info = wifi.query(intf.index)) {
        intf.mediaType = info->onChannel || known == nullptr ? info->mediaType : known->mediaType;
        intf.mediaInfo.assign(info->info.begin(), info->info.end());
        intf.frequency = info->frequency;
        intf.hasStations = info->hasStations;
        intf.meshPoint = info->meshPoint;
    } else {
        intf.mediaType = known != nullptr ? known->mediaType : ethernetMediaType(intf.name);
    }
    if (const auto given = parseNumber(conf().value("MEDIA_TYPE." + intf.name))) {
        intf.mediaType = *given & 0xFFFF;
    }
    if (!intf.isRadio()) intf.mediaInfo.clear();
}

// A host behind the interface, by a forwarding or neighbor table entry: none for entries that
// stand for the device itself or for groups.
std::optional<MacAddr> hostOf(const NeighborMessage& entry, const Picture& picture) {
    // Absent while nobody has answered.
    const std::optional<MacAddr> mac = entry.mac(NDA_LLADDR);
    if (!mac || mac->isZero() || (mac->b[0] & 1) != 0) return std::nullopt;
    // The permanent entries of a forwarding table are the bridge's and the driver's own addresses;
    // a permanent neighbor entry of a plain interface is a host that the administrator knows.
    if (entry.header().ndm_family == AF_BRIDGE && (entry.header().ndm_state & NUD_PERMANENT) != 0) {
        return std::nullopt;
    }
    const auto& own = picture.ownMacs;
    if (std::find(own.begin(), own.end(), *mac) != own.end()) return std::nullopt;
    return mac;
}

// A port's neighbors are those that its bridge, or the switch that does the bridge's work, has
// learned; a plain interface has no such table, there it is the hosts that IP has found.
void noteNeighbor(const NeighborMessage& entry, Picture& picture) {
    const bool ofBridge = entry.header().ndm_family == AF_BRIDGE;
    const auto intf =
        std::find_if(picture.intfs.begin(), picture.intfs.end(),
                     [&entry](const Intf& i) { return i.index == entry.header().ndm_ifindex; });
    if (intf == picture.intfs.end() || ofBridge != (intf->bridge != 0)) return;
    if (const auto host = hostOf(entry, picture)) intf->neighbors.push_back(*host);
}

bool readNeighbors(uint8_t family, Picture& picture) {
    auto socket = NetlinkSocket::open(NETLINK_ROUTE);
    const auto take = [&picture](nlmsghdr* message) {
        const NeighborMessage entry(message);
        if (entry.ok()) noteNeighbor(entry, picture);
    };
    if (!socket) return false;
    // Kernels take the longer header for the bridges' tables.
    if (family == AF_BRIDGE) {
        ifinfomsg ask{};
        ask.ifi_family = family;
        return socket->request(RTM_GETNEIGH, NLM_F_DUMP, bytesOf(ask), take);
    }
    ndmsg ask{};
    ask.ndm_family = family;
    return socket->request(RTM_GETNEIGH, NLM_F_DUMP, bytesOf(ask), take);
}

}  // namespace

const Intf* Picture::byIndex(int index) const {
    const auto found = std::find_if(intfs.begin(), intfs.end(),
                                    [index](const Intf& intf) { return intf.index == index; });
    return found != intfs.end() ? &*found : nullptr;
}

const Intf* Picture::byName(std::string_view name) const {
    const auto found = std::find_if(intfs.begin(), intfs.end(),
                                    [name](const Intf& intf) { return intf.name == name; });
    return found != intfs.end() ? &*found : nullptr;
}

std::optional<Picture> takePicture(const Picture& previous) {
    const auto links = readLinks();
    if (!links) return std::nullopt;
    Picture picture;
    Nl80211 wifi;
    for (const Link& link : *links) {
        if (!link.mac.isZero()) picture.ownMacs.push_back(link.mac);
        if (link.kind == "bridge") picture.bridges.push_back({link.index, link.mac});
        if (!takesPart(link, *links)) continue;
        if (picture.intfs.size() == kMaxIntfs) {
            LOG_LINE(2, "more than %zu interfaces; %s is left out", kMaxIntfs, link.name.c_str());
            continue;
        }
        Intf intf;
        intf.index = link.index;
        intf.name = link.name;
        intf.mac = link.mac;
        intf.pwrState = pwrStateOf(link);
        intf.operStatus = operStatusOf(link);
        const Link* master = linkByIndex(*links, link.master);
        if (master != nullptr && master->kind == "bridge") intf.bridge = master->index;
        describeMedia(previous, wifi, intf);
        picture.intfs.push_back(std::move(intf));
    }
    if (!takeNeighbors(picture)) return std::nullopt;
    return picture;
}

bool takeNeighbors(Picture& picture) {
    for (Intf& intf : picture.intfs) intf.neighbors.clear();
    if (!readNeighbors(AF_BRIDGE, picture) || !readNeighbors(AF_UNSPEC, picture)) return false;
    for (Intf& intf : picture.intfs) {
        auto& macs = intf.neighbors;
        std::sort(macs.begin(), macs.end());
        macs.erase(std::unique(macs.begin(), macs.end()), macs.end());
        if (macs.size() <= kMaxNeighbors) continue;
        LOG_LINE(2, "%s has %zu neighbors; %zu are reported", intf.name.c_str(), macs.size(),
                 kMaxNeighbors);
        macs.resize(kMaxNeighbors);
        macs.shrink_to_fit();
    }
    return true;
}

std::optional<MacAddr> alMacOf(const Picture& picture) {
    for (const Bridge& bridge : picture.bridges) {
        for (const Intf& intf : picture.intfs) {
            if (intf.bridge == bridge.index) return bridge.mac;
        }
    }
    if (picture.intfs.empty()) return std::nullopt;
    return picture.intfs.front().mac;
}

std::optional<MacAddr> lanMacOf(const Picture& picture) {
    if (!picture.bridges.empty()) return picture.bridges.front().mac;
    if (picture.intfs.empty()) return std::nullopt;
    return picture.intfs.front().mac;
}
