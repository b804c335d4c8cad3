#include "db/neighbor_aging.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "base/store.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/local_tables.h"
#include "db/options.h"
#include "db/upcalls.h"

namespace {

constexpr Seconds kBridgeInterval = 60;  // discoveries this far apart without LLDP mean a bridge
constexpr Seconds kLldpGrace = 3;        // LLDP frames leave together with discoveries
// LLDP frames leave every 30 or 60 seconds. If they are read, a bridge that was put in between
// shows before the time to live of the last one ends.
constexpr Seconds kLldpFresh = 45;
constexpr size_t kMostEarlyLldp = 64;      // on an interface
constexpr long kMostIntfsOfNbr = 32;       // of one device, heard on an interface
constexpr Seconds kReturnLimit = 40;       // more than a spanning tree holds up messages
constexpr Seconds kReturnInterval = 5;     // a discovery after this much silence is a return
constexpr Seconds kNotificationDelay = 3;  // after the appearance of a device
constexpr Seconds kQueryInterval = 3;
constexpr uint8_t kMaxQueries = 3;
constexpr Seconds kNever = std::numeric_limits<Seconds>::max();
constexpr Seconds kClaimTime = kMaxQueries * kQueryInterval + 1;

NeighborAging& module() {
    return stateOf<NeighborAging>();
}

// After a change by which something may be due earlier than known so far. Nothing is due within
// the same second.
void lookSoon() {
    module().intfsDue = std::min(module().intfsDue, now() + 1);
    module().devsDue = std::min(module().devsDue, now() + 1);
}

void setBridge(IntfNbrDev& nbr, const MacAddr& localMac, bool bridge) {
    nbr.bridgeFlag = bridge ? 1 : 0;
    noteTopologyChange();
    // Both texts whole, so that a line of the log is found in the source.
    if (bridge) {
        LOG(3,
            "the result of IEEE 803.1 bridge(s) detection is (" MAC_FMT "/" MAC_FMT "): TRUE\r\n",
            MAC_ARGS(localMac), MAC_ARGS(nbr.nbrIntfMac));
    } else {
        LOG(3,
            "the result of IEEE 803.1 bridge(s) detection is (" MAC_FMT "/" MAC_FMT "): FALSE\r\n",
            MAC_ARGS(localMac), MAC_ARGS(nbr.nbrIntfMac));
    }
}

int report(bool changed) {
    if (!changed) return kNothingChanged;
    noteTopologyChange();
    requestUpdateDataModel(1);
    return kChanged;
}

void keepEarlyLldp(IntfTable& intf, const MacAddr& nbrIntfMac, uint16_t ttl) {
    auto& early = intf.earlyLldp;
    if (early.size() == kMostEarlyLldp) early.erase(early.begin());
    early.push_back({nbrIntfMac, now(), ttl});
}

void takeEarlyLldp(IntfTable& intf, IntfNbrDev& nbr) {
    std::erase_if(intf.earlyLldp, [&](const EarlyLldp& lldp) {
        if (lldp.nbrIntfMac != nbr.nbrIntfMac) return false;
        if (nbr.lldpSeen && lldp.time < nbr.lldpTime) return true;
        nbr.lldpSeen = true;
        nbr.lldpTime = lldp.time;
        nbr.lldpTtl = lldp.ttl;
        return true;
    });
}

// True if the neighbor cannot have another interface: nobody can fill the table, or multiply the
// messages to a device, in its name.
bool hasTooManyIntfs(const IntfTable& intf, const MacAddr& alMac, const MacAddr& intfMac) {
    if (std::ranges::count(intf.nbrs, alMac, &IntfNbrDev::nbrAlMac) < kMostIntfsOfNbr) return false;
    LOG(2, "too many interfaces of neighbor (" MAC_FMT "), refuse (" MAC_FMT ")\r\n",
        MAC_ARGS(alMac), MAC_ARGS(intfMac));
    return true;
}

int addTopolNbr(int kind, IntfTable& intf, const MacAddr& alMac, const MacAddr& intfMac) {
    if (!makeNbrRoom(intf, intfMac)) return kNothingChanged;
    LOG(3, "add a new neighbor (" MAC_FMT ")\r\n", MAC_ARGS(alMac));
    intf.nbrs.push_back({.nbrAlMac = alMac,
                         .nbrIntfMac = intfMac,
                         .is1905 = true,
                         .last1905Time = now(),
                         .discTime = kind == kNbrDiscovery ? now() : 0});
    takeEarlyLldp(intf, intf.nbrs.back());
    return report(true);
}

// Removes a device whose interface now bears another AL MAC, unless it has one more.
void dropFormerDevice(const MacAddr& alMac) {
    for (const auto& intf : getIntfTable()) {
        for (const auto& nbr : intf.nbrs) {
            if (nbr.nbrAlMac == alMac) return;
        }
    }
    if (std::erase_if(getNbrDevTable(), [&](const NbrDev& dev) { return dev.alMac == alMac; }) == 0)
        return;
    noteTopologyChange();
    LOG(3, "neihbor device (" MAC_FMT ") disconnected\r\n", MAC_ARGS(alMac));
    (void)removeIeee1905DevTable(alMac);
}

bool lldpIsFresh(const IntfNbrDev& nbr, Seconds time) {
    const Seconds limit = getReadLldpOption() ? kLldpFresh : Seconds{nbr.lldpTtl};
    return nbr.lldpSeen && time - nbr.lldpTime < std::min<Seconds>(limit, nbr.lldpTtl);
}

// True if a discovery with this AL MAC has to wait, because the device that had the interface until
// now answers, or may still do so: nobody can remove a living device by a forged discovery.
bool isDisputed(IntfNbrDev& nbr, const MacAddr& alMac, Seconds time) {
    const NbrDev* holder = findNbrDev(nbr.nbrAlMac);
    if (!nbr.is1905 || nbr.nbrAlMac == alMac || holder == nullptr || holder->answerTime == 0) {
        nbr.claimant = {};
        return false;
    }
    const bool isRefuted = nbr.claimTime != 0 && time - nbr.claimTime < kClaimTime;
    if (!nbr.claimant.isZero() || isRefuted) return true;
    nbr.claimant = alMac;
    nbr.claimTime = time;
    (void)upcalls().sendTopolQuery(nbr.nbrAlMac);
    return true;
}

// Asks the holder of a claimed interface again, or gives the interface to the claimant if the
// holder has not answered. True if it did the latter. The queries follow the claim alone:
// notifications, which anybody can forge, do not delay them.
bool settleClaim(IntfNbrDev& nbr, Seconds time) {
    if (nbr.claimant.isZero()) return false;
    const Seconds age = time - nbr.claimTime;
    if (findNbrDev(nbr.nbrAlMac) != nullptr && age < kClaimTime) {
        if (age > 0 && age % kQueryInterval == 0) (void)upcalls().sendTopolQuery(nbr.nbrAlMac);
        return false;
    }
    const MacAddr former = std::exchange(nbr.nbrAlMac, std::exchange(nbr.claimant, {}));
    nbr.last1905Time = time;
    dropFormerDevice(former);
    return true;
}

bool noteDiscovery(int kind, IntfNbrDev& nbr, const MacAddr& localMac, const MacAddr& alMac) {
    const Seconds time = now();
    if (isDisputed(nbr, alMac, time)) return false;
    bool changed = false;
    if (!nbr.is1905 || nbr.nbrAlMac != alMac) {
        const MacAddr former = std::exchange(nbr.nbrAlMac, alMac);
        nbr.is1905 = true;
        changed = true;
        if (!former.isZero() && former != alMac) dropFormerDevice(former);
    }
    if (lldpIsFresh(nbr, time) && nbr.bridgeFlag == 1) {
        setBridge(nbr, localMac, false);
        changed = true;
    } else if (!getReadLldpOption() && !nbr.lldpSeen && nbr.last1905Time >= 1 &&
               time - nbr.last1905Time >= kBridgeInterval && nbr.bridgeFlag == 0) {
        setBridge(nbr, localMac, true);
        changed = true;
    }
    nbr.last1905Time = time;
    if (kind == kNbrDiscovery) nbr.discTime = time;
    return changed;
}

// A newcomer gets the place of a device that never answered: a forged one usually does not.
bool makeNbrDevRoom(const MacAddr& newcomer) {
    auto& devs = getNbrDevTable();
    if (devs.size() < kMaxNbrDevs) return true;
    const auto silent = std::ranges::find(devs, 0, &NbrDev::answerTime);
    if (silent == devs.end()) {
        LOG(2, "too many neighbor devices, refuse (" MAC_FMT ")\r\n", MAC_ARGS(newcomer));
        return false;
    }
    LOG(2, "too many neighbor devices, drop (" MAC_FMT ")\r\n", MAC_ARGS(silent->alMac));
    devs.erase(silent);
    noteTopologyChange();
    return true;
}

// True if a neighbor's discovery arrived without the LLDP frame that leaves with it: a bridge in
// between has swallowed that.
bool lacksLldp(const IntfNbrDev& nbr, Seconds time) {
    return getReadLldpOption() && nbr.is1905 && nbr.bridgeFlag == 0 && nbr.discTime > 0 &&
           time - nbr.discTime >= kLldpGrace && !lldpIsFresh(nbr, nbr.discTime);
}

// Gives back most of the memory of a table that a flood had filled.
template <typename T>
void shrink(std::vector<T>& table) {
    if (table.capacity() > 4 * table.size() + 64) table.shrink_to_fit();
}

// When checkIntfNbrIntfTimeOut may have something to do for an entry that it has just looked at.
Seconds nextDue(const IntfNbrDev& nbr, Seconds time) {
    if (!nbr.claimant.isZero()) return time + 1;
    Seconds due = kNever;
    if (nbr.is1905 || nbr.namedTime != 0) {
        due = (nbr.is1905 ? nbr.last1905Time : nbr.namedTime) + kSilenceLimit;
    }
    const Seconds lldpDue = nbr.discTime + kLldpGrace;
    return getReadLldpOption() && lldpDue > time ? std::min(due, lldpDue) : due;
}

// The same for checkNbrDevTableTimeOut.
Seconds nextDue(const NbrDev& dev) {
    Seconds due = dev.lastSeen + (dev.ntfSent ? kSilenceLimit : kNotificationDelay);
    if (dev.queryTime != 0 && !dev.respReceived && dev.queryRetries < kMaxQueries) {
        due = std::min(due, dev.queryTime + kQueryInterval);
    }
    return due;
}

}  // namespace

int updateLldpDiscInfo(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                       const MacAddr& nbrAlMac, const MacAddr& nbrIntfMac, uint16_t ttl) {
    LOG(4, "alMac = " MAC_FMT ", intfMac = " MAC_FMT ", ttl = %d\r\n", MAC_ARGS(nbrAlMac),
        MAC_ARGS(nbrIntfMac), ttl);
    IntfTable* intf = getIntfTableOf(localName, localMac, mediaType);
    if (intf == nullptr) return kFailure;
    IntfNbrDev* nbr = getIntfNbrDevByMac(*intf, nbrIntfMac);
    lookSoon();
    if (nbr == nullptr) {
        if (getReadLldpOption()) keepEarlyLldp(*intf, nbrIntfMac, ttl);
        return kNothingChanged;
    }
    nbr->lldpSeen = true;
    nbr->lldpTime = now();
    nbr->lldpTtl = ttl;
    if (!nbr->is1905 || nbr->bridgeFlag != 1) return kNothingChanged;
    setBridge(*nbr, localMac, false);
    return report(true);
}

void noteNamedIntf(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                   const MacAddr& nbrIntfMac) {
    IntfTable* intf = getIntfTableByName(localName);
    const IntfNbrDev* known = intf != nullptr ? getIntfNbrDevByMac(*intf, nbrIntfMac) : nullptr;
    const bool isReported = known != nullptr && known->namedTime == 0;
    (void)addIntfNbrIntf(localName, localMac, mediaType, {&nbrIntfMac, 1});
    if (intf == nullptr || isReported) return;
    if (IntfNbrDev* nbr = getIntfNbrDevByMac(*intf, nbrIntfMac)) nbr->namedTime = now();
    lookSoon();
}

int updateTopolInfo(int kind, std::string_view localName, const MacAddr& localMac,
                    uint32_t mediaType, const MacAddr& nbrAlMac, const MacAddr& nbrIntfMac) {
    LOG(4, "alMac = " MAC_FMT ", intfMac = " MAC_FMT ", mediaType = 0x%04x \n", MAC_ARGS(nbrAlMac),
        MAC_ARGS(nbrIntfMac), mediaType);
    IntfTable* intf = getIntfTableOf(localName, localMac, mediaType);
    if (intf == nullptr) return kFailure;
    IntfNbrDev* nbr = getIntfNbrDevByMac(*intf, nbrIntfMac);
    lookSoon();
    const bool isNew = nbr == nullptr || nbr->nbrAlMac != nbrAlMac;
    if (isNew && hasTooManyIntfs(*intf, nbrAlMac, nbrIntfMac)) return kNothingChanged;
    if (nbr == nullptr) return addTopolNbr(kind, *intf, nbrAlMac, nbrIntfMac);
    if (kind == kNbrDiscovery || kind == kNbrUcastDisc) {
        takeEarlyLldp(*intf, *nbr);
        return report(noteDiscovery(kind, *nbr, localMac, nbrAlMac));
    }
    if (!nbr->is1905) nbr->nbrAlMac = nbrAlMac;
    return kNothingChanged;
}

void refuteClaims(const MacAddr& alMac) {
    for (auto& intf : getIntfTable()) {
        for (auto& nbr : intf.nbrs) {
            if (nbr.nbrAlMac == alMac) nbr.claimant = {};
        }
    }
}

void hurryNbrTimeOut(std::string_view localName) {
    IntfTable* intf = getIntfTableByName(localName);
    if (intf == nullptr) return;
    for (auto& nbr : intf->nbrs) {
        nbr.last1905Time = std::min(nbr.last1905Time, now() - kSilenceLimit + kReturnLimit);
        nbr.lldpSeen = false;
    }
    lookSoon();
}

int checkIntfNbrIntfTimeOut() {
    const Seconds time = now();
    auto& due = module().intfsDue;
    if (time < due) return kNothingChanged;
    due = kNever;
    bool changed = false;
    for (auto& intf : getIntfTable()) {
        for (auto it = intf.nbrs.begin(); it != intf.nbrs.end();) {
            if ((it->is1905 && !it->isLiving1905(time)) || it->isForgotten(time)) {
                LOG(3, "remove a neighbor interface (" MAC_FMT ")\r\n", MAC_ARGS(it->nbrIntfMac));
                it = intf.nbrs.erase(it);
                changed = true;
                continue;
            }
            if (settleClaim(*it, time)) changed = true;
            if (lacksLldp(*it, time)) {
                setBridge(*it, intf.mac, true);
                changed = true;
            }
            due = std::min(due, nextDue(*it, time));
            ++it;
        }
        shrink(intf.nbrs);
    }
    return report(changed);
}

int updateNbrDevTable(int msgType, const MacAddr& alMac) {
    LOG(4, "msgType = %d, alMac = " MAC_FMT "\r\n", msgType, MAC_ARGS(alMac));
    auto& devs = getNbrDevTable();
    const Seconds time = now();
    lookSoon();
    NbrDev* const it = findNbrDev(alMac);
    if (it == nullptr) {
        if (getAlTable() == nullptr || !makeNbrDevRoom(alMac)) return kFailure;
        devs.push_back({.alMac = alMac,
                        .lastSeen = time,
                        .queryTime = msgType == kNbrNotification ? time : 0,
                        .answerTime = msgType == kNbrResponse ? time : 0});
        noteTopologyChange();
        return kNewNbrDev;
    }
    switch (msgType) {
        case kNbrDiscovery: {
            const bool returned = time - it->lastSeen >= kReturnInterval;
            it->lastSeen = time;
            if (!returned) return kKnownNbrDev;
            it->ntfSent = false;
            return kNewNbrDev;
        }
        case kNbrNotification:
        case kNbrResponse:
            it->queryTime = msgType == kNbrNotification ? time : 0;
            it->respReceived = msgType == kNbrResponse;
            if (msgType == kNbrResponse) it->answerTime = time;
            it->queryRetries = 0;
            return kKnownNbrDev;
        default:
            return kKnownNbrDev;
    }
}

MacAddr alMacOf(const MacAddr& mac) {
    for (const auto& intf : getIntfTable()) {
        for (const auto& nbr : intf.nbrs) {
            if (nbr.isNamedBy(mac)) return nbr.nbrAlMac.isZero() ? mac : nbr.nbrAlMac;
        }
    }
    return mac;
}

void noteVersion(const MacAddr& srcMac, uint8_t version) {
    NbrDev* const dev = findNbrDev(alMacOf(srcMac));
    if (dev == nullptr || !store(dev->version, version)) return;
    if (version != 0) {
        LOG(1,
            "neighbor (" MAC_FMT
            ") sends version 0x%.2x and cannot hear all messages of this device: all devices need "
            "the same value of STANDARD_1905\r\n",
            MAC_ARGS(dev->alMac), version);
    }
    requestUpdateDataModel(0);
}

int checkNbrDevTableTimeOut() {
    const Seconds time = now();
    auto& due = module().devsDue;
    if (time < due) return kOk;
    due = kNever;
    auto& devs = getNbrDevTable();
    for (auto it = devs.begin(); it != devs.end();) {
        const MacAddr alMac = it->alMac;
        if (time - it->lastSeen >= kSilenceLimit) {
            LOG(3, "neihbor device (" MAC_FMT ") disconnected\r\n", MAC_ARGS(alMac));
            (void)removeIeee1905DevTable(alMac);
            it = devs.erase(it);
            noteTopologyChange();
            continue;
        }
        if (time - it->lastSeen >= kNotificationDelay && !it->ntfSent) {
            it->ntfSent = true;
            upcalls().requestSendTopolNtfMsg();
        }
        if (it->queryTime != 0 && !it->respReceived && it->queryRetries < kMaxQueries &&
            time - it->queryTime >= kQueryInterval) {
            (void)upcalls().sendTopolQuery(alMac);
            it->queryTime = time;
            it->queryRetries++;
        }
        due = std::min(due, nextDue(*it));
        ++it;
    }
    shrink(devs);
    return kOk;
}

bool isInBrdgTuple(std::string_view name) {
    const AlTable* al = getAlTable();
    const IntfTable* intf = getIntfTableByName(name);
    if (al == nullptr || intf == nullptr) return false;
    return std::any_of(al->brdgTuples.begin(), al->brdgTuples.end(), [&](const BrdgTuple& tuple) {
        return std::find(tuple.macs.begin(), tuple.macs.end(), intf->mac) != tuple.macs.end();
    });
}

int checkIntfIsBrdg(std::string_view name) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return 0;
    // A device without a bridge sends by every interface.
    return al->brdgTuples.empty() || isInBrdgTuple(name) ? 1 : 0;
}
