#include "netctrl/ethtool.h"

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "base/fd.h"
#include "common/text.h"

namespace {

enum : uint32_t { kFastEthernet = 0x0000, kGigabitEthernet = 0x0001 };

// The older of the two queries, because all kernels support it.
std::optional<ethtool_cmd> queryLink(const std::string& ifname) {
    const Fd fd(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!fd) return std::nullopt;
    ethtool_cmd settings{};
    settings.cmd = ETHTOOL_GSET;
    ifreq request{};
    copyText(request.ifr_name, ifname);
    request.ifr_data = reinterpret_cast<char*>(&settings);
    if (ioctl(fd.get(), SIOCETHTOOL, &request) != 0) return std::nullopt;
    return settings;
}

std::optional<uint32_t> speedOf(const ethtool_cmd& settings) {
    const uint32_t speed = ethtool_cmd_speed(&settings);
    // Without a link, drivers report -1 in 16 or in 32 bits.
    if (speed == 0 || speed == 0xFFFF || speed == static_cast<uint32_t>(SPEED_UNKNOWN)) {
        return std::nullopt;
    }
    return speed;
}

}  // namespace

std::optional<uint32_t> linkSpeed(const std::string& ifname) {
    const auto settings = queryLink(ifname);
    return settings ? speedOf(*settings) : std::nullopt;
}

uint32_t ethernetMediaType(const std::string& ifname) {
    constexpr uint32_t kUpTo100 = SUPPORTED_10baseT_Half | SUPPORTED_10baseT_Full |
                                  SUPPORTED_100baseT_Half | SUPPORTED_100baseT_Full;
    constexpr uint32_t kNoSpeed = SUPPORTED_Autoneg | SUPPORTED_TP | SUPPORTED_AUI | SUPPORTED_MII |
                                  SUPPORTED_FIBRE | SUPPORTED_BNC | SUPPORTED_Pause |
                                  SUPPORTED_Asym_Pause | SUPPORTED_Backplane;
    const auto settings = queryLink(ifname);
    if (!settings) return kGigabitEthernet;
    const uint32_t speeds = settings->supported & ~kNoSpeed;
    if (speeds != 0) return (speeds & ~kUpTo100) != 0 ? kGigabitEthernet : kFastEthernet;
    // A virtual interface lists no supported speeds, but it may report its present speed.
    const auto speed = speedOf(*settings);
    return speed && *speed <= 100 ? kFastEthernet : kGigabitEthernet;
}
