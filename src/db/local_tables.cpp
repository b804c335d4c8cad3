#include "db/local_tables.h"

#include <cstdlib>
#include <memory>

#include "base/bytes.h"
#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/upcalls.h"
#include "platform/device.h"

namespace {

void freeIntfDescs(IntfDesc* head) {
    while (head != nullptr) {
        IntfDesc* next = head->next;
        free(head->mediaInfo);
        free(head->vendInfo);
        free(head->nbrMacs);
        free(head);
        head = next;
    }
}

void freeBrdgDescs(BrdgDesc* head) {
    while (head != nullptr) {
        BrdgDesc* next = head->next;
        free(head->macs);
        free(head);
        head = next;
    }
}

using IntfDescs = std::unique_ptr<IntfDesc, decltype(&freeIntfDescs)>;
using BrdgDescs = std::unique_ptr<BrdgDesc, decltype(&freeBrdgDescs)>;

IntfTable makeIntf(const IntfDesc& desc) {
    IntfTable intf;
    intf.name = fieldText(desc.name);
    intf.mac = MacAddr(desc.mac);
    intf.pwrState = desc.pwrState;
    intf.operStatus = desc.operStatus;
    intf.lastChange = now();
    intf.mediaType = desc.mediaType;
    intf.mediaInfo.resize(desc.mediaInfoLen);
    if (desc.mediaInfo != nullptr) {
        std::copy_n(desc.mediaInfo, desc.mediaInfoLen, intf.mediaInfo.begin());
    }
    std::copy_n(desc.oui, intf.oui.size(), intf.oui.begin());
    if (desc.vendInfo != nullptr) {
        intf.vendInfo.assign(desc.vendInfo, desc.vendInfo + desc.vendInfoLen);
    }
    const size_t nbrNum = std::min<size_t>(desc.nbrNum, kMaxIntfNbrs);
    for (const MacAddr& mac : unpackMacs(desc.nbrMacs, nbrNum)) {
        intf.nbrs.push_back({.nbrIntfMac = mac});
    }
    return intf;
}

bool matches(const IntfTable& intf, const IntfDesc& desc) {
    return intf.name == fieldText(desc.name) && intf.mac == MacAddr(desc.mac) &&
           intf.mediaType == desc.mediaType;
}

int changed() {
    noteTopologyChange();
    requestUpdateDataModel(1);
    return kChanged;
}

// Replaces the member that is the interface. Other interfaces may have the same MAC, in a bridge or
// not; if it is not certain that this one is a member, the platform's next list of bridges will
// tell.
void replaceInTuples(AlTable& al, const MacAddr& oldMac, const MacAddr& newMac) {
    auto bearers = std::ranges::count(al.intfs, oldMac, &IntfTable::mac);
    MacAddr* member = nullptr;
    for (auto& tuple : al.brdgTuples) {
        for (auto& mac : tuple.macs) {
            if (mac != oldMac) continue;
            member = &mac;
            bearers--;
        }
    }
    if (member != nullptr && bearers <= 0) *member = newMac;
}

// Takes the media types from the platform, by name: several interfaces may match an event.
int rereadMediaTypes(AlTable& al) {
    IntfDescList list{};
    if (getIntfDesc(&list) != 0) return kFailure;
    const IntfDescs owner(list.head, freeIntfDescs);
    for (const IntfDesc* desc = list.head; desc != nullptr; desc = desc->next) {
        const IntfTable next = makeIntf(*desc);
        for (IntfTable& intf : al.intfs) {
            if (intf.name != next.name.view()) continue;
            intf.mediaType = next.mediaType;
            intf.mediaInfo = next.mediaInfo;
        }
    }
    return kOk;
}

}  // namespace

bool makeNbrRoom(IntfTable& intf, const MacAddr& newcomer) {
    if (intf.nbrs.size() < kMaxIntfNbrs) return true;
    auto oldest = std::ranges::find(intf.nbrs, false, &IntfNbrDev::is1905);
    if (oldest == intf.nbrs.end()) {
        oldest = std::ranges::find_if(intf.nbrs, [](const IntfNbrDev& nbr) {
            const NbrDev* dev = findNbrDev(nbr.nbrAlMac);
            return dev == nullptr || dev->answerTime == 0;
        });
    }
    if (oldest == intf.nbrs.end()) {
        LOG(2, "too many neighbor interfaces, refuse (" MAC_FMT ")\r\n", MAC_ARGS(newcomer));
        return false;
    }
    LOG(2, "too many neighbor interfaces, drop (" MAC_FMT ")\r\n", MAC_ARGS(oldest->nbrIntfMac));
    intf.nbrs.erase(oldest);
    noteTopologyChange();
    return true;
}

int retrieveIntfTable(AlTable& al) {
    IntfDescList list{};
    if (const int result = getIntfDesc(&list); result != 0) {
        LOG_PUTS(1, "failed to retrieve interface descriptions\r");
        return result;
    }
    const IntfDescs owner(list.head, freeIntfDescs);
    al.intfNum = list.intfNum;
    for (const IntfDesc* desc = list.head; desc != nullptr; desc = desc->next) {
        al.intfs.push_back(makeIntf(*desc));
    }
    return kOk;
}

int retrieveBrdgTupleTable(AlTable& al) {
    BrdgDescList list{};
    if (const int result = getBrdgCapability(&list); result != 0) {
        LOG_PUTS(1, "failed to retrieve bridging tuple\r");
        return result;
    }
    const BrdgDescs owner(list.head, freeBrdgDescs);
    for (const BrdgDesc* desc = list.head; desc != nullptr; desc = desc->next) {
        if (al.brdgTuples.size() == list.tupleNum) break;
        al.brdgTuples.push_back({unpackMacs(desc->macs, desc->macNum)});
    }
    return kOk;
}

int updateAlMac(const MacAddr& alMac) {
    AlTable* al = getAlTable();
    if (al == nullptr) return kNothingChanged;
    al->alMac = alMac;
    return changed();
}

int updateIntfMac(std::string_view name, const MacAddr& /*oldMac*/, uint32_t /*mediaType*/,
                  const MacAddr& newMac) {
    IntfTable* intf = getIntfTableByName(name);
    if (intf == nullptr) return kNothingChanged;
    if (AlTable* al = getAlTable(); al != nullptr) replaceInTuples(*al, intf->mac, newMac);
    intf->mac = newMac;
    noteTopologyChange();
    (void)upcalls().reinitIntfPorts();
    return changed();
}

int updateIntfPwrState(std::string_view name, const MacAddr& mac, uint32_t /*mediaType*/,
                       uint32_t newState) {
    IntfTable* intf = getIntfTableByName(name);
    if (intf == nullptr) return kNothingChanged;
    intf->pwrState = newState;
    intf->lastChange = now();
    LOG(3, "the power state of interface (" MAC_FMT ") updated: new state = %d\r\n", MAC_ARGS(mac),
        static_cast<int>(newState));
    return changed();
}

int updateIntfOperStatus(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                         uint32_t newStatus) {
    IntfTable* intf = getIntfTableByName(name);
    if (intf == nullptr) return kNothingChanged;
    intf->operStatus = newStatus;
    intf->lastChange = now();
    LOG(3,
        "the operation status of interface (" MAC_FMT
        ", mediaType = %x) updated: new status = %d\r\n",
        MAC_ARGS(mac), mediaType, static_cast<int>(newStatus));
    return changed();
}

int updateIntfMediaType(const MacAddr& mac, uint32_t oldMediaType, uint32_t newMediaType,
                        const MediaInfo& mediaInfo) {
    IntfTable* intf = getIntfTableById(mac, oldMediaType);
    if (intf == nullptr) return kNothingChanged;
    AlTable& al = *getAlTable();
    const auto matches = std::ranges::count_if(al.intfs, [&](const IntfTable& other) {
        return other.mac == mac && other.mediaType == oldMediaType;
    });
    if (matches == 1 || rereadMediaTypes(al) != kOk) {
        intf->mediaType = newMediaType;
        intf->mediaInfo = mediaInfo;
    }
    return changed();
}

int setIntfPwrStateByMediaType(uint32_t mediaType, uint32_t state) {
    LOG(4, "mediaType = %x, pwrState = %d\r\n", mediaType, static_cast<int>(state));
    return setIntfPwrStateByType(mediaType, state);
}

int setIntfPwrStateByMac(const MacAddr& mac, uint32_t mediaType, uint32_t state) {
    LOG(4, "intfMac = " MAC_FMT ", mediaType = %x, pwrState = %d\r\n", MAC_ARGS(mac), mediaType,
        static_cast<int>(state));
    return setIntfPwrStateById(mac.data(), mediaType, state);
}

int addIntf(const IntfDesc* list) {
    AlTable* al = getAlTable();
    if (al == nullptr) return kFailure;
    bool added = false;
    for (const IntfDesc* desc = list; desc != nullptr; desc = desc->next) {
        const MacAddr mac(desc->mac);
        const std::string name(fieldText(desc->name));
        if (std::any_of(al->intfs.begin(), al->intfs.end(),
                        [&](const IntfTable& intf) { return matches(intf, *desc); })) {
            LOG(2, "interface (name = %s, MAC = " MAC_FMT ", mediaType = %x) has existed\r\n",
                name.c_str(), MAC_ARGS(mac), desc->mediaType);
            continue;
        }
        if (desc->mediaInfoLen != 0 && desc->mediaInfo == nullptr) {
            LOG_PUTS(1, "media information is NULL\r");
            return kFailure;
        }
        if (desc->nbrNum != 0 && desc->nbrMacs == nullptr) {
            LOG_PUTS(1, "neighbor interface MAC list is NULL\r");
            return kFailure;
        }
        al->intfs.push_back(makeIntf(*desc));
        added = true;
        LOG(3, "add interface (name = %s, MAC = " MAC_FMT ", mediaType = %x) OK\r\n", name.c_str(),
            MAC_ARGS(mac), desc->mediaType);
    }
    return added ? changed() : kNothingChanged;
}

int removeIntf(const IntfDesc* list) {
    bool removed = false;
    for (const IntfDesc* desc = list; desc != nullptr; desc = desc->next) {
        const MacAddr mac(desc->mac);
        const std::string name(fieldText(desc->name));
        auto& intfs = getIntfTable();
        const auto it = std::find_if(intfs.begin(), intfs.end(),
                                     [&](const IntfTable& intf) { return matches(intf, *desc); });
        if (it == intfs.end()) {
            LOG(2, "interface (name = %s, MAC = " MAC_FMT ", mediaType = %x) isn't found\r\n",
                name.c_str(), MAC_ARGS(mac), desc->mediaType);
            continue;
        }
        intfs.erase(it);
        removed = true;
        LOG(3, "remove interface (name = %s, MAC = " MAC_FMT ", mediaType = %x) OK\r\n",
            name.c_str(), MAC_ARGS(mac), desc->mediaType);
    }
    return removed ? changed() : kNothingChanged;
}

int addIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t mediaType,
                   std::span<const MacAddr> macs) {
    LOG(4, "intfMac = " MAC_FMT ", mediaType = 0x%04x \r\n", MAC_ARGS(mac), mediaType);
    IntfTable* intf = getIntfTableByName(name);
    if (intf == nullptr) {
        LOG(2, "local interface (MAC = " MAC_FMT ", mediaType = %x) isn't found\r\n", MAC_ARGS(mac),
            mediaType);
        return kNoLocalIntf;
    }
    bool added = false;
    for (size_t i = 0; i < macs.size(); i++) {
        // Meant: the check for duplicates looks at the MAC at twice the index, if the list has one,
        // and not at the MAC that is added.
        IntfNbrDev* known = 2 * i < macs.size() ? getIntfNbrDevByMac(*intf, macs[2 * i]) : nullptr;
        if (known != nullptr) {
            known->namedTime = 0;
            LOG(4, "neighbor interface (" MAC_FMT ", mediaType = %x) has existed\r\n",
                MAC_ARGS(macs[2 * i]), mediaType);
            continue;
        }
        if (!makeNbrRoom(*intf, macs[i])) continue;
        intf->nbrs.push_back({.nbrIntfMac = macs[i]});
        added = true;
        LOG(3, "add a new neighbor interface (" MAC_FMT ", mediaType = %x)\r\n", MAC_ARGS(macs[i]),
            mediaType);
    }
    return added ? changed() : kNothingChanged;
}

int removeIntfNbrIntf(std::string_view name, const MacAddr& mac, uint32_t /*mediaType*/,
                      const std::vector<MacAddr>& macs) {
    IntfTable* intf = getIntfTableByName(name);
    if (intf == nullptr) {
        LOG(2, "local interface (MAC = " MAC_FMT ") isn't found\r\n", MAC_ARGS(mac));
        return kNoLocalIntf;
    }
    bool removed = false;
    for (const MacAddr& nbrMac : macs) {
        const auto it =
            std::find_if(intf->nbrs.begin(), intf->nbrs.end(),
                         [&](const IntfNbrDev& nbr) { return nbr.nbrIntfMac == nbrMac; });
        if (it == intf->nbrs.end()) {
            LOG(2, "neighbor interface (" MAC_FMT ") isn't found \r\n", MAC_ARGS(nbrMac));
            continue;
        }
        // A bridge forgets, and ARP fails, long before a neighbor is gone.
        if (it->isLiving1905(now())) {
            LOG(4, "neighbor interface (" MAC_FMT ") is a living 1905 neighbor\r\n",
                MAC_ARGS(nbrMac));
            continue;
        }
        intf->nbrs.erase(it);
        removed = true;
        LOG(3, "remove neighbor interface (" MAC_FMT ") OK\r\n", MAC_ARGS(nbrMac));
    }
    return removed ? changed() : kNothingChanged;
}

int requestUpdateBrdgCap() {
    AlTable* al = getAlTable();
    if (al == nullptr) return kFailure;
    al->brdgTuples.clear();
    noteTopologyChange();
    return retrieveBrdgTupleTable(*al) == kOk ? changed() : kFailure;
}
