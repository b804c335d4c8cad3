#include "hostapd/radios.h"

#include <net/if.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "common/conf.h"
#include "common/text.h"
#include "hostapd/bss.h"
#include "netctrl/wireless.h"

namespace {

namespace fs = std::filesystem;

// Sorted names of sockets with their stamps. None if this process may not look.
std::optional<std::vector<HostapdBss>> sockets() {
    std::vector<HostapdBss> found;
    std::error_code error;
    const std::string folder = hostapdFolder();
    // Most devices have none, and it is looked at every few seconds.
    if (access(folder.c_str(), F_OK) != 0 && errno == ENOENT) return found;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        struct stat info {};
        if (lstat(entry->path().c_str(), &info) != 0) {
            if (errno == EACCES) return std::nullopt;
            continue;
        }
        // The socket "global" is that of no interface.
        if (!S_ISSOCK(info.st_mode) || entry->path().filename() == "global") continue;
        found.push_back({entry->path().filename(),
                         std::to_string(info.st_ino) + "." + std::to_string(info.st_ctim.tv_sec) +
                             "." + std::to_string(info.st_ctim.tv_nsec),
                         {}});
    }
    if (error == std::errc::permission_denied) return std::nullopt;
    std::ranges::sort(found, {}, &HostapdBss::ifname);
    return found;
}

}  // namespace

std::optional<std::string> hostapdStamp() {
    const auto found = sockets();
    if (!found) return std::nullopt;
    std::string text;
    for (const HostapdBss& bss : *found) {
        text.append(" ").append(bss.ifname).append(" ").append(bss.stamp);
    }
    return std::string(trim(text));
}

std::vector<HostapdBss> listBss() {
    auto found = sockets().value_or(std::vector<HostapdBss>{});
    for (HostapdBss& bss : found) bss.band = conf().value("WIFI_BAND." + bss.ifname);
    return found;
}

uint8_t radioBandOf(const std::string& ifname) {
    const auto index = static_cast<int>(if_nametoindex(ifname.c_str()));
    const auto wifi = index != 0 ? Nl80211().query(index) : std::nullopt;
    const uint32_t frequency = wifi ? wifi->frequency : 0;
    if (frequency == 0 || frequency >= 7200) return 0;
    if (frequency < 2500) return 0x01;
    return frequency < 5945 ? 0x02 : 0x08;
}

std::vector<BssPlan> planBss(const std::vector<HostapdBss>& all, const BandNetworks& bands,
                             const HostapdLog& log) {
    std::vector<BssPlan> plan;
    const auto isTaken = [&plan](const HostapdBss& bss) {
        return std::ranges::find(plan, &bss, &BssPlan::bss) != plan.end();
    };
    for (const WifiBand& band : kWifiBandTable) {
        const auto given = bands.find(band.number);
        if (given == bands.end()) continue;
        const auto serves = [&band](const HostapdBss& bss) { return bss.serves(band); };
        for (const WifiNetwork& network : given->second) {
            const auto free = std::ranges::find_if(
                all, [&](const HostapdBss& bss) { return serves(bss) && !isTaken(bss); });
            if (free != all.end()) {
                plan.push_back({&*free, &network, &band});
            } else if (!all.empty()) {
                // Many devices have no radio for all bands of the mesh.
                log(std::ranges::any_of(all, serves) ? 1 : 3,
                    "hostapd: no BSS is left for network " + ssidText(network.ssid.view()) +
                        " of band " + std::string(band.name));
            }
        }
    }
    for (const HostapdBss& bss : all) {
        size_t possible = 0, configured = 0;
        for (const WifiBand& band : kWifiBandTable) {
            if (!bss.serves(band)) continue;
            possible++;
            configured += bands.count(band.number);
        }
        if (!isTaken(bss) && possible > 0 && configured == possible)
            plan.push_back({&bss, nullptr});
    }
    return plan;
}
