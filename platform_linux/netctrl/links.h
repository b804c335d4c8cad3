// The kernel's network interfaces, and which of them take part in IEEE 1905.1 traffic.
#pragma once

#include <linux/netlink.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/mac_addr.h"

// One interface as rtnetlink describes it.
struct Link {
    int index = 0;
    std::string name;
    std::string kind;  // "bridge", "veth", ...; empty for hardware
    bool ethernet = false;
    MacAddr mac;
    uint32_t flags = 0;     // IFF_...
    uint8_t operState = 0;  // IF_OPER_...
    int master = 0;         // index of the bridge, bond or other interface that owns it, else 0
    int lower = 0;          // index of the interface it is built on, else 0
    bool holdsDefaultRoute = false;  // of the main table; only with EXCLUDE_DEFAULT_ROUTE
};

// All interfaces in the order of their index; none if the kernel does not answer in full.
std::optional<std::vector<Link>> readLinks();

// Whether the interface takes part in IEEE 1905.1 traffic. Ethernet and Wi-Fi interfaces do, except
// loopbacks, bridges, tunnels and the like, members of a bond (the bond does instead), the conduit
// of a switch (its ports do instead), those in EXCLUDE of platform.conf, and those outside every
// bridge that hold the default route. INCLUDE admits these and interfaces of other kinds.
bool takesPart(const Link& link, const std::vector<Link>& all);

// Notes that the interface holds the default route. So does the cable that carries it, if it is a
// VLAN.
void markUplink(int index, std::vector<Link>& links);

// EXCLUDE_DEFAULT_ROUTE of the daemon, given by setExcludeDefaultRoute.
bool excludesDefaultRoute();

// Whether this notification is about a default route.
bool isAboutDefaultRoute(nlmsghdr* message);

// nullptr if there is no such interface.
const Link* linkByIndex(const std::vector<Link>& links, int index);

// PLATFORM_PWR_... and PLATFORM_OPER_... of an interface.
uint32_t pwrStateOf(const Link& link);
uint32_t operStatusOf(const Link& link);

// Packet counters of one interface; none if the kernel does not know it.
struct LinkCounters {
    uint64_t txErrors, txPackets, txBytes, rxErrors, rxPackets, rxBytes;
};
std::optional<LinkCounters> readLinkCounters(int index);

// Sets an interface up or down.
[[nodiscard]] bool setLinkUp(int index, bool up);
