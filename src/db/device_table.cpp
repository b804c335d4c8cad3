#include "db/device_table.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "db/change_log.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/mesh_macs.h"
#include "platform/autoconfig.h"

namespace {

template <typename List>
auto findList(List& lists, const MacAddr& localIntfMac) {
    return std::find_if(lists.begin(), lists.end(),
                        [&](const auto& list) { return list.localIntfMac == localIntfMac; });
}

const MacAddr& macOf(const MacAddr& nbr) {
    return nbr;
}
const MacAddr& macOf(const Ieee1905Nbr& nbr) {
    return nbr.alMac;
}

// The neighbors of a list, sorted for fast lookup: there may be thousands.
template <typename Nbr>
std::vector<MacAddr> sorted(const std::vector<Nbr>& list) {
    std::vector<MacAddr> macs;
    for (const auto& nbr : list) macs.push_back(macOf(nbr));
    std::ranges::sort(macs);
    return macs;
}

// Who reports a change in the log: the remote device if it had such a list before, else this
// device.
struct Reporter {
    MacAddr alMac;
    MacAddr intfMac;
};

// Logs without a topology notification: every device would react with a query, and the responses
// would repeat the same news.
void logChange(ChangeEvent event, const Reporter& reporter, ChangeNbrType type,
               const MacAddr& nbr) {
    updateChangeLogTable(event, reporter.alMac, reporter.intfMac, type, nbr, false);
}

// Addresses of the mesh itself are no news.
void logNon1905Changes(const DevTopol& old, const DevTopol& next, const Reporter& self) {
    const auto log = [&](ChangeEvent event, const Reporter& reporter, const MacAddr& mac) {
        if (!isMeshMac(mac) && std::ranges::count(next.intfs, mac, &DevIntf::mac) == 0) {
            logChange(event, reporter, kNon1905Nbr, mac);
        }
    };
    for (const auto& list : next.non1905Lists) {
        const auto before = findList(old.non1905Lists, list.localIntfMac);
        if (before == old.non1905Lists.end()) {
            for (const auto& mac : list.nbrs) log(kNewNeighbor, self, mac);
            continue;
        }
        const Reporter device{next.alMac, list.localIntfMac};
        const auto olds = sorted(before->nbrs), news = sorted(list.nbrs);
        for (const auto& mac : list.nbrs) {
            if (!std::ranges::binary_search(olds, mac)) log(kNewNeighbor, device, mac);
        }
        for (const auto& mac : before->nbrs) {
            if (!std::ranges::binary_search(news, mac)) log(kLostNeighbor, device, mac);
        }
    }
}

void log1905Changes(const DevTopol& old, const DevTopol& next, const Reporter& self) {
    std::vector<MacAddr> olds;
    if (!old.ieee1905Lists.empty()) olds = sorted(old.ieee1905Lists.front().nbrs);
    for (const auto& list : next.ieee1905Lists) {
        if (old.ieee1905Lists.empty()) {
            for (const auto& nbr : list.nbrs) {
                logChange(kNewNeighbor, self, kIeee1905Nbr, nbr.alMac);
            }
            continue;
        }
        // Meant: each list is compared with the first old one, whatever its interface, and losses
        // are logged only if the new list is empty.
        const Reporter device{next.alMac, list.localIntfMac};
        for (const auto& nbr : list.nbrs) {
            if (!std::ranges::binary_search(olds, nbr.alMac)) {
                logChange(kNewNeighbor, device, kIeee1905Nbr, nbr.alMac);
            }
        }
        if (!list.nbrs.empty()) continue;
        for (const auto& nbr : old.ieee1905Lists.front().nbrs)
            logChange(kLostNeighbor, device, kIeee1905Nbr, nbr.alMac);
    }
}

// Keeps the names and power states of interfaces, which only vendor messages carry.
void takeOverIntfState(const DevTopol& old, DevTopol& next) {
    for (auto& intf : next.intfs) {
        for (const auto& before : old.intfs) {
            if (before.mac != intf.mac) continue;
            intf.name = before.name;
            intf.pwrState = before.pwrState;
        }
    }
}

bool hasSameLinks(const DevTopol& a, const DevTopol& b) {
    return a.ieee1905Lists == b.ieee1905Lists &&
           std::ranges::equal(a.intfs, b.intfs, [](const DevIntf& one, const DevIntf& other) {
               return one.mac == other.mac && one.mediaType == other.mediaType;
           });
}

// True if the records of all remote devices would take too much memory with this response.
bool isTooMuch(const DevTopol& dev, const Ieee1905DevTable* stored) {
    size_t total = dev.memory();
    for (const auto& other : getIeee1905DevTables()) total += other.memory();
    if (stored != nullptr) {
        total -= stored->DevTopol::memory();
    } else {
        total += sizeof(Ieee1905DevTable);
    }
    return total > kMaxMeshBytes;
}

// True if nothing is to be stored or logged. With several lists of 1905 neighbors, there is always
// something to log.
bool bringsNothing(const Ieee1905DevTable& stored, const DevTopol& dev) {
    return dev.ieee1905Lists.size() <= 1 && dev.hasSameTopol(stored);
}

// Returns the new or changed record, nullptr if there is no room for it.
const Ieee1905DevTable* storeTopol(const Ieee1905DevTable* stored, const DevTopol& dev,
                                   const Reporter& self) {
    auto& devs = getIeee1905DevTables();
    // A copy, because a list that arrived in parts has room to spare.
    DevTopol next = dev;
    if (isTooMuch(next, stored)) {
        LOG(2, "the database is full, refuse the topology of (" MAC_FMT ")\r\n",
            MAC_ARGS(next.alMac));
        return nullptr;
    }
    if (stored != nullptr) {
        logNon1905Changes(*stored, next, self);
        log1905Changes(*stored, next, self);
        takeOverIntfState(*stored, next);
        if (!hasSameLinks(*stored, next)) noteTopologyChange();
        static_cast<DevTopol&>(devs.edit(*stored)) = std::move(next);
        return stored;
    }
    if (devs.size() >= kMaxNbrDevs) {
        LOG(2, "too many devices, refuse (" MAC_FMT ")\r\n", MAC_ARGS(next.alMac));
        return nullptr;
    }
    stored = &devs.add({std::move(next), {}});
    updateChangeLogTable(kNewNeighbor, self.alMac, self.intfMac, kIeee1905Nbr, stored->alMac);
    return stored;
}

}  // namespace

int updateIeee1905DevTable(const MacAddr& intfMac, uint32_t mediaType, const DevTopol& dev) {
    LOG(5, "alMac = " MAC_FMT ", intfNum = %d\r\n", MAC_ARGS(dev.alMac),
        static_cast<int>(dev.intfs.size()));
    for (const auto& intf : dev.intfs) {
        LOG(5, "intfMac = " MAC_FMT ", mediaType = %x\r\n", MAC_ARGS(intf.mac), intf.mediaType);
    }
    if (getIntfTableById(intfMac, mediaType) == nullptr) return kFailure;

    const Ieee1905DevTable* stored = getIeee1905DevTableById(dev.alMac);
    if (stored == nullptr || !bringsNothing(*stored, dev)) {
        stored = storeTopol(stored, dev, {*getAlMac(), intfMac});
        if (stored == nullptr) return kFailure;
    }
    updateWifiSync(*stored);
    return requestUpdateDataModel(0);
}

void updateWifiSync(const Ieee1905DevTable& dev) {
    WpsSyncRecord record{};
    dev.alMac.copyTo(record.mac);
    std::array<uint8_t, 2> sync{};
    if (getWPSSyncListByMac(&record) == 0) sync = {record.value[0], record.value[1]};
    if (dev.wifiSync != sync) getIeee1905DevTables().edit(dev).wifiSync = sync;
}

int removeIeee1905DevTable(const MacAddr& alMac) {
    LOG(4, "alMac = " MAC_FMT "\r\n", MAC_ARGS(alMac));
    auto& devs = getIeee1905DevTables();
    const auto it = std::find_if(devs.begin(), devs.end(),
                                 [&](const Ieee1905DevTable& dev) { return dev.alMac == alMac; });
    if (it == devs.end()) {
        LOG(3, "can't find the neighbor device (" MAC_FMT ")\r\n", MAC_ARGS(alMac));
        return kFailure;
    }
    // alMac may refer into the record that is erased.
    const MacAddr lost = alMac;
    devs.erase(it);
    updateChangeLogTable(kLostNeighbor, *getAlMac(), *getAlMac(), kIeee1905Nbr, lost);
    requestUpdateDataModel(1);
    return kOk;
}

const Ieee1905DevTable* getIeee1905DevTableById(const MacAddr& alMac) {
    const auto& devs = getIeee1905DevTables();
    if (devs.empty()) {
        LOG_PUTS(3, "Ieee1905DevTable is empty\r");
        return nullptr;
    }
    for (const auto& dev : devs) {
        if (dev.alMac == alMac) return &dev;
    }
    return nullptr;
}

Ieee1905DevTable* editIeee1905DevTableById(const MacAddr& alMac) {
    const Ieee1905DevTable* dev = getIeee1905DevTableById(alMac);
    return dev != nullptr ? &getIeee1905DevTables().edit(*dev) : nullptr;
}

bool isKnownRegistrar(const MacAddr& alMac) {
    const Ieee1905DevTable* dev = getIeee1905DevTableById(alMac);
    return dev != nullptr && dev->role == PLATFORM_REGISTRAR;
}

const MacAddr* getalMacOfIeee1905DevTableByintfMac(const MacAddr& intfMac) {
    for (const auto& dev : getIeee1905DevTables()) {
        for (const auto& intf : dev.intfs) {
            if (intf.mac == intfMac) return &dev.alMac;
        }
    }
    return nullptr;
}
