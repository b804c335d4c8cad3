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

// The records of the platform functions count in 8 bits.
constexpr size_t kMaxIntfs = 255;
// Far above any home. Protects against a flooded forwarding table.
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

// The host that a forwarding or neighbor table entry describes; none for entries about this device
// or groups.
std::optional<MacAddr> hostOf(const NeighborMessage& entry, const Picture& picture) {
    // Absent until the host has answered.
    const std::optional<MacAddr> mac = entry.mac(NDA_LLADDR);
    if (!mac || mac->isZero() || (mac->b[0] & 1) != 0) return std::nullopt;
    // Permanent entries of a forwarding table are addresses of the bridge and the driver. On a
    // plain interface, however, the administrator has entered them.
    if (entry.header().ndm_family == AF_BRIDGE && (entry.header().ndm_state & NUD_PERMANENT) != 0) {
        return std::nullopt;
    }
    const auto& own = picture.ownMacs;
    if (std::find(own.begin(), own.end(), *mac) != own.end()) return std::nullopt;
    return mac;
}

// The neighbors of a bridge port are what the bridge, or the switch it is offloaded to, has
// learned. Other interfaces have no such table; their neighbors are the hosts that IP has found.
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
    // Bridge tables are requested with the longer header.
    if (family == AF_BRIDGE) {
        ifinfomsg ask{};
        ask.ifi_family = family;
        return socket->request(RTM_GETNEIGH, NLM_F_DUMP, bytesOf(ask), take);
    }
    ndmsg ask{};
    ask.ndm_family = family;
    return socket->request(RTM_GETNEIGH, NLM_F_DUMP, bytesOf(ask), take);
}

// Each change of what EXCLUDE_DEFAULT_ROUTE excludes.
void logUplinks(const Picture& previous, const Picture& now) {
    const auto contains = [](const std::vector<std::string>& names, const std::string& name) {
        return std::find(names.begin(), names.end(), name) != names.end();
    };
    for (const std::string& name : now.uplinks) {
        if (contains(previous.uplinks, name)) continue;
        LOG_LINE(1, "%s takes no part: it holds the default route", name.c_str());
    }
    for (const std::string& name : previous.uplinks) {
        if (contains(now.uplinks, name) || now.byName(name) == nullptr) continue;
        LOG_LINE(1, "%s takes part: it no longer holds the default route", name.c_str());
    }
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
        if (!takesPart(link, *links)) {
            Link other = link;
            other.holdsDefaultRoute = false;
            if (takesPart(other, *links)) picture.uplinks.push_back(link.name);
            continue;
        }
        if (picture.intfs.size() == kMaxIntfs) {
            LOG_LINE(2, "more than %zu interfaces; %s is ignored", kMaxIntfs, link.name.c_str());
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
    logUplinks(previous, picture);
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
