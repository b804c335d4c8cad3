#include "db/link_metrics.h"

#include <cstdlib>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "db/database.h"
#include "platform/descriptions.h"

namespace {

constexpr Seconds kLinkCacheTime = 5;

// The neighbor on another interface with the same MAC and media type.
IntfNbrDev* findOnTwin(const IntfTable& intf, const MacAddr& nbrIntfMac) {
    for (IntfTable& other : getIntfTable()) {
        if (&other == &intf || other.mac != intf.mac || other.mediaType != intf.mediaType) continue;
        if (IntfNbrDev* nbr = getIntfNbrDevByMac(other, nbrIntfMac)) return nbr;
    }
    return nullptr;
}

// The links of an interface from the platform, completed with the AL MAC and bridge flag of each
// neighbor from the table. The platform cannot tell interfaces apart that share MAC and media type;
// withTwins includes the links of the others. std::nullopt if the platform fails.
std::optional<std::vector<LinkTableEntry>> fetchLinks(IntfTable& intf, bool withTwins) {
    LinkDescList list{};
    if (getLinkMetricList(intf.mac.data(), intf.mediaType, &list) != 0) return std::nullopt;
    std::vector<LinkTableEntry> links;
    for (LinkDesc* desc = list.head; desc != nullptr;) {
        LinkTableEntry link;
        link.nbrIntfMac = MacAddr(desc->nbrIntfMac);
        const IntfNbrDev* nbr = getIntfNbrDevByMac(intf, link.nbrIntfMac);
        const IntfNbrDev* onTwin = nbr == nullptr ? findOnTwin(intf, link.nbrIntfMac) : nullptr;
        if (onTwin != nullptr && !withTwins) {
            free(std::exchange(desc, desc->next));
            continue;
        }
        if (nbr == nullptr) nbr = onTwin;
        if (nbr != nullptr) {
            link.nbrAlMac = nbr->nbrAlMac;
            link.bridgeFlag = nbr->bridgeFlag;
        }
        link.txErrors = desc->txErrors;
        link.txPackets = desc->txPackets;
        link.rxErrors = desc->rxErrors;
        link.rxPackets = desc->rxPackets;
        link.throughput = desc->throughput;
        link.availability = desc->availability;
        link.phyRate = desc->phyRate;
        link.rssi = desc->rssi;
        links.push_back(link);
        free(std::exchange(desc, desc->next));
    }
    return links;
}

std::optional<LinkTable> fetchLinkTable(IntfTable& intf, bool withTwins) {
    auto links = fetchLinks(intf, withTwins);
    if (!links) return std::nullopt;
    return LinkTable{*getAlMac(), intf.mac, intf.mediaType, std::move(*links)};
}

}  // namespace

IntfTable* getIntfLinkMetricsById(const MacAddr& mac, uint32_t mediaType) {
    LOG(4, "intfMac = " MAC_FMT ", mediaType = %x\r\n", MAC_ARGS(mac), mediaType);
    IntfTable* intf = getIntfTableById(mac, mediaType);
    if (intf == nullptr) return nullptr;
    if (now() - intf->linkTime < kLinkCacheTime) return intf;
    intf->links.clear();
    auto links = fetchLinks(*intf, true);
    if (!links) {
        LOG(1, "failed to get the link metric of the interface (" MAC_FMT ") meidaType = %x\r\n",
            MAC_ARGS(mac), mediaType);
        return nullptr;
    }
    intf->links = std::move(*links);
    if (!intf->links.empty()) intf->linkTime = now();
    return intf;
}

int getIntfLinkTableById(const MacAddr& mac, uint32_t mediaType, LinkTable& table) {
    IntfTable* intf = getIntfTableById(mac, mediaType);
    if (intf == nullptr) return kFailure;
    auto fetched = fetchLinkTable(*intf, true);
    if (!fetched) {
        LOG(1, "failed to get the link metric of the interface (" MAC_FMT ") mediaType = %x\r\n",
            MAC_ARGS(mac), mediaType);
        return kFailure;
    }
    table = std::move(*fetched);
    return kOk;
}

int getLinkTableOfAllIntf(std::vector<LinkTable>& tables) {
    for (auto& intf : getIntfTable()) {
        auto table = fetchLinkTable(intf, false);
        if (!table) {
            LOG(1,
                "failed to get the link metric of the interface (" MAC_FMT ", mediaType = %x)\r\n",
                MAC_ARGS(intf.mac), intf.mediaType);
            return kFailure;
        }
        tables.push_back(std::move(*table));
    }
    return kOk;
}

std::optional<std::vector<LinkMetricInfo>> getLinkMetricInfo() {
    std::vector<LinkTable> tables;
    if (getLinkTableOfAllIntf(tables) != kOk) return std::nullopt;
    std::vector<LinkMetricInfo> infos;
    const uint8_t nbrDevNum = getNbrDevNum();
    for (unsigned i = 0; i < nbrDevNum; i++) {
        LinkMetricInfo info{getNbrDevTableByIndex(i)->alMac, {}};
        for (const auto& table : tables) {
            for (const auto& link : table.links) {
                if (link.nbrAlMac != info.alMac) continue;
                info.links.push_back({table.intfMac, link.nbrIntfMac,
                                      static_cast<uint16_t>(table.mediaType), link.bridgeFlag,
                                      link.txErrors, link.txPackets, link.rxErrors, link.rxPackets,
                                      link.throughput, link.availability, link.phyRate,
                                      static_cast<uint8_t>(link.rssi)});
            }
        }
        infos.push_back(std::move(info));
    }
    return infos;
}
