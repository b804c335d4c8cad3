#include "netctrl/links.h"

#include <linux/if.h>
#include <linux/if_arp.h>
#include <linux/if_link.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <array>

#include "api.h"
#include "common/conf.h"
#include "netctrl/netlink.h"

namespace {

using LinkMessage = NlMessage<ifinfomsg, IFLA_MAX>;

// Kinds of interfaces that carry the frames of a cable, a switch port or a radio.
constexpr std::array<std::string_view, 5> kKinds = {"", "veth", "vlan", "dsa", "bond"};

Link linkOf(const LinkMessage& message) {
    Link link;
    link.index = message.header().ifi_index;
    link.name = message.text(IFLA_IFNAME);
    link.flags = message.header().ifi_flags;
    link.ethernet = message.header().ifi_type == ARPHRD_ETHER;
    link.mac = message.mac(IFLA_ADDRESS).value_or(MacAddr{});
    link.operState = message.u8(IFLA_OPERSTATE).value_or(IF_OPER_UNKNOWN);
    link.master = static_cast<int>(message.u32(IFLA_MASTER).value_or(0));
    link.lower = static_cast<int>(message.u32(IFLA_LINK).value_or(0));
    if (nlattr* info = message.attr(IFLA_LINKINFO)) {
        std::array<nlattr*, IFLA_INFO_MAX + 1> nested{};
        if (nla_parse_nested(nested.data(), IFLA_INFO_MAX, info, nullptr) >= 0) {
            link.kind = LinkMessage::textOf(nested[IFLA_INFO_KIND]);
        }
    }
    return link;
}

using RouteMessage = NlMessage<rtmsg, RTA_MAX>;

bool excludeDefaultRoute = false;

// The interfaces of a default route; it may have several next hops.
std::vector<int> outgoing(const RouteMessage& route) {
    std::vector<int> indexes;
    if (const auto index = route.u32(RTA_OIF)) indexes.push_back(static_cast<int>(*index));
    nlattr* const hops = route.attr(RTA_MULTIPATH);
    if (hops == nullptr) return indexes;
    int left = nla_len(hops);
    constexpr int kSmallest = sizeof(rtnexthop);
    for (auto* hop = static_cast<rtnexthop*>(nla_data(hops));
         left >= kSmallest && RTNH_OK(hop, left);
         left -= RTNH_ALIGN(hop->rtnh_len), hop = RTNH_NEXT(hop)) {
        indexes.push_back(hop->rtnh_ifindex);
    }
    return indexes;
}

bool isDefaultRoute(const RouteMessage& route) {
    return route.ok() && route.header().rtm_dst_len == 0 &&
           route.header().rtm_type == RTN_UNICAST && route.header().rtm_table == RT_TABLE_MAIN;
}

bool markDefaultRoutes(uint8_t family, std::vector<Link>& links) {
    rtmsg ask{};
    ask.rtm_family = family;
    const auto take = [&links](nlmsghdr* message) {
        const RouteMessage route(message);
        if (!isDefaultRoute(route)) return;
        for (const int index : outgoing(route)) markUplink(index, links);
    };
    auto socket = NetlinkSocket::open(NETLINK_ROUTE);
    return socket && socket->request(RTM_GETROUTE, NLM_F_DUMP, bytesOf(ask), take);
}

// Whether the interface is outside every bridge and holds the default route.
bool isUplink(const Link& link, const std::vector<Link>& all) {
    const Link* const master = linkByIndex(all, link.master);
    return link.holdsDefaultRoute && (master == nullptr || master->kind != "bridge");
}

}  // namespace

void setExcludeDefaultRoute(int exclude) {
    excludeDefaultRoute = exclude != 0;
}

bool excludesDefaultRoute() {
    return excludeDefaultRoute;
}

bool isAboutDefaultRoute(nlmsghdr* message) {
    return isDefaultRoute(RouteMessage(message));
}

std::optional<std::vector<Link>> readLinks() {
    struct {
        ifinfomsg header;
        rtattr attr;
        uint32_t mask;
    } ask{};
    ask.header.ifi_family = AF_UNSPEC;
    ask.attr.rta_type = IFLA_EXT_MASK;
    ask.attr.rta_len = RTA_LENGTH(sizeof ask.mask);
    ask.mask = RTEXT_FILTER_SKIP_STATS;

    std::vector<Link> links;
    const auto take = [&links](nlmsghdr* message) {
        const LinkMessage link(message);
        if (link.ok()) links.push_back(linkOf(link));
    };
    auto socket = NetlinkSocket::open(NETLINK_ROUTE);
    if (!socket || !socket->request(RTM_GETLINK, NLM_F_DUMP, bytesOf(ask), take)) return {};
    std::sort(links.begin(), links.end(),
              [](const Link& a, const Link& b) { return a.index < b.index; });
    if (excludeDefaultRoute &&
        (!markDefaultRoutes(AF_INET, links) || !markDefaultRoutes(AF_INET6, links))) {
        return {};
    }
    return links;
}

const Link* linkByIndex(const std::vector<Link>& links, int index) {
    const auto found = std::find_if(links.begin(), links.end(),
                                    [index](const Link& link) { return link.index == index; });
    return found != links.end() ? &*found : nullptr;
}

void markUplink(int index, std::vector<Link>& links) {
    for (Link& link : links) {
        // One that is marked has marked those below, so a loop of lower links ends.
        if (link.index != index || link.holdsDefaultRoute) continue;
        link.holdsDefaultRoute = true;
        if (link.kind == "vlan") markUplink(link.lower, links);
    }
}

bool takesPart(const Link& link, const std::vector<Link>& all) {
    if (!link.ethernet || (link.flags & IFF_LOOPBACK) != 0 || link.kind == "bridge" ||
        link.mac.isZero() || conf().matches("EXCLUDE", link.name)) {
        return false;
    }
    if (conf().matches("INCLUDE", link.name)) return true;
    if (std::find(kKinds.begin(), kKinds.end(), link.kind) == kKinds.end() || isUplink(link, all)) {
        return false;
    }

    const Link* master = linkByIndex(all, link.master);
    if (master != nullptr && (master->kind == "bond" || master->kind == "team")) return false;
    return std::none_of(all.begin(), all.end(), [&link](const Link& port) {
        return port.kind == "dsa" && port.lower == link.index;
    });
}

uint32_t pwrStateOf(const Link& link) {
    return (link.flags & IFF_UP) != 0 ? PLATFORM_PWR_ON : PLATFORM_PWR_OFF;
}

uint32_t operStatusOf(const Link& link) {
    switch (link.operState) {
        case IF_OPER_UP:
            return PLATFORM_OPER_UP;
        case IF_OPER_DORMANT:
            return PLATFORM_OPER_DORMANT;
        case IF_OPER_NOTPRESENT:
            return PLATFORM_OPER_NOT_PRESENT;
        case IF_OPER_LOWERLAYERDOWN:
            return PLATFORM_OPER_LOWER_LAYER_DOWN;
        case IF_OPER_TESTING:
            return PLATFORM_OPER_ERROR;
        // Not every driver keeps the state; then the carrier decides.
        case IF_OPER_UNKNOWN:
            return (link.flags & IFF_LOWER_UP) != 0 ? PLATFORM_OPER_UP : PLATFORM_OPER_DOWN;
        default:
            return PLATFORM_OPER_DOWN;
    }
}

std::optional<LinkCounters> readLinkCounters(int index) {
    ifinfomsg ask{};
    ask.ifi_index = index;
    std::optional<LinkCounters> counters;
    const auto take = [&](nlmsghdr* message) {
        const LinkMessage link(message);
        const nlattr* stats = link.ok() ? link.attr(IFLA_STATS64) : nullptr;
        if (stats == nullptr) return;
        rtnl_link_stats64 figures{};
        // Newer kernels append fields.
        memcpy(&figures, nla_data(stats),
               std::min(sizeof figures, static_cast<size_t>(nla_len(stats))));
        counters = {figures.tx_errors, figures.tx_packets, figures.tx_bytes,
                    figures.rx_errors, figures.rx_packets, figures.rx_bytes};
    };
    auto socket = NetlinkSocket::open(NETLINK_ROUTE);
    if (!socket || !socket->request(RTM_GETLINK, 0, bytesOf(ask), take)) return {};
    return counters;
}

bool setLinkUp(int index, bool up) {
    ifinfomsg order{};
    order.ifi_index = index;
    order.ifi_change = IFF_UP;
    if (up) order.ifi_flags = IFF_UP;
    auto socket = NetlinkSocket::open(NETLINK_ROUTE);
    return socket && socket->order(RTM_NEWLINK, bytesOf(order));
}
