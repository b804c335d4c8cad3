// Descriptions of the abstraction layer, interfaces, bridges, security setting and links.
#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/ethtool.h"
#include "netctrl/links.h"
#include "netctrl/records.h"
#include "netctrl/watch.h"

namespace {

// A malloc'ed copy; nullptr if there are no bytes or no memory.
uint8_t* copyOf(const void* bytes, size_t size) {
    if (bytes == nullptr || size == 0) return nullptr;
    auto* copy = static_cast<uint8_t*>(malloc(size));
    if (copy != nullptr) memcpy(copy, bytes, size);
    return copy;
}

// Builds the list that a platform function hands over, and frees it if that fails.
template <typename Entry>
class ListBuilder {
  public:
    using FreeEntry = void (*)(Entry*);
    explicit ListBuilder(FreeEntry freeEntry) : freeEntry_(freeEntry) {}
    ~ListBuilder() {
        while (head_ != nullptr) {
            Entry* next = head_->next;
            freeEntry_(head_);
            head_ = next;
        }
    }
    ListBuilder(const ListBuilder&) = delete;
    ListBuilder& operator=(const ListBuilder&) = delete;

    // A zeroed entry at the end of the list, nullptr if there is no memory.
    Entry* append() {
        auto* entry = static_cast<Entry*>(calloc(1, sizeof(Entry)));
        if (entry == nullptr) return nullptr;
        *tail_ = entry;
        tail_ = &entry->next;
        return entry;
    }
    Entry* release() {
        tail_ = &head_;
        return std::exchange(head_, nullptr);
    }

  private:
    FreeEntry freeEntry_;
    Entry* head_ = nullptr;
    Entry** tail_ = &head_;
};

void freeIntfDesc(IntfDesc* desc) {
    free(desc->mediaInfo);
    free(desc->nbrMacs);
    free(desc);
}

void freeBrdgDesc(BrdgDesc* desc) {
    free(desc->macs);
    free(desc);
}

// Replaces pointers into our own memory by copies for the caller.
bool makeOwn(IntfDesc& desc) {
    desc.mediaInfo = copyOf(desc.mediaInfo, desc.mediaInfoLen);
    desc.nbrMacs = copyOf(desc.nbrMacs, size_t{desc.nbrNum} * PLATFORM_MAC_LEN);
    return (desc.mediaInfo != nullptr || desc.mediaInfoLen == 0) &&
           (desc.nbrMacs != nullptr || desc.nbrNum == 0);
}

// The traffic of a link when it was last asked for.
struct Load {
    std::chrono::steady_clock::time_point when;
    uint64_t bytes;
};

struct {
    std::map<int, Load> byIndex;
} loads;

// Percent of the capacity that the busier direction has left unused since the last call; 100 if
// that is unknown.
uint16_t availabilityOf(int index, const LinkCounters& counters, uint32_t speed) {
    std::erase_if(loads.byIndex,
                  [](const auto& load) { return reported().byIndex(load.first) == nullptr; });
    const auto now = std::chrono::steady_clock::now();
    // Full duplex: the sum would make a half-used link look busy.
    const uint64_t bytes = std::max(counters.txBytes, counters.rxBytes);
    const auto [entry, isNew] = loads.byIndex.try_emplace(index, Load{now, bytes});
    const Load before = std::exchange(entry->second, Load{now, bytes});
    const std::chrono::duration<double> elapsed = now - before.when;
    if (isNew || speed == 0 || bytes < before.bytes || elapsed.count() <= 0) return 100;
    const double capacity = elapsed.count() * speed * 1e6 / 8;
    const double busy = static_cast<double>(bytes - before.bytes) / capacity;
    return static_cast<uint16_t>(100 - std::min(100.0, 100 * busy));
}

uint16_t clamp16(uint32_t value) {
    return static_cast<uint16_t>(std::min(value, 0xffffu));
}

// Mb/s; the nominal speed of the media type if a wired driver reports none. 0 for radios, whose
// rates depend on the station.
uint32_t speedOf(const Intf& intf) {
    if (intf.isRadio()) return 0;
    if (const auto speed = linkSpeed(intf.name)) return *speed;
    return intf.mediaType == 0 ? 100 : 1000;
}

// Describes the links to the neighbors of an interface; links counts them. kOk or kFailure.
int appendLinks(const Intf& intf, ListBuilder<LinkDesc>& built, uint16_t& links) {
    const auto counters = readLinkCounters(intf.index);
    if (!counters) return kFailure;
    const uint32_t speed = speedOf(intf);
    const uint16_t availability = availabilityOf(intf.index, *counters, speed);
    for (const MacAddr& neighbor : intf.neighbors) {
        LinkDesc* desc = built.append();
        if (desc == nullptr) return kFailure;
        neighbor.copyTo(desc->nbrIntfMac);
        // The kernel counts per interface, not per neighbor, so each link shows the total.
        desc->txErrors = static_cast<uint32_t>(counters->txErrors);
        desc->txPackets = static_cast<uint32_t>(counters->txPackets);
        desc->rxErrors = static_cast<uint32_t>(counters->rxErrors);
        desc->rxPackets = static_cast<uint32_t>(counters->rxPackets);
        desc->throughput = clamp16(speed);
        desc->availability = availability;
        desc->phyRate = clamp16(speed);
        links++;
    }
    return kOk;
}

}  // namespace

int getAlDesc(AlDesc* desc) {
    const std::optional<MacAddr> alMac = reportedAlMac();
    if (desc == nullptr || !alMac) {
        LOG_LINE(1,
                 "no participating interface, hence no AL MAC address; see AL_MAC, EXCLUDE "
                 "and INCLUDE in platform.conf");
        return kFailure;
    }
    *desc = {};
    alMac->copyTo(desc->alMac);
    return kOk;
}

int getIntfDesc(IntfDescList* list) {
    if (list == nullptr || !resetReported()) return kFailure;
    *list = {};
    ListBuilder<IntfDesc> built(freeIntfDesc);
    for (const Intf& intf : reported().intfs) {
        IntfDesc* desc = built.append();
        if (desc == nullptr) return kFailure;
        *desc = describe(intf);
        if (!makeOwn(*desc)) return kFailure;
    }
    list->intfNum = static_cast<uint8_t>(reported().intfs.size());
    list->head = built.release();
    return kOk;
}

int getIntfmatchNum(uint8_t* num) {
    if (num == nullptr) return kFailure;
    *num = static_cast<uint8_t>(reported().intfs.size());
    return kOk;
}

int getBrdgCapability(BrdgDescList* list) {
    if (list == nullptr) return kFailure;
    *list = {};
    ListBuilder<BrdgDesc> built(freeBrdgDesc);
    uint8_t tuples = 0;
    for (const Bridge& bridge : reported().bridges) {
        std::vector<MacAddr> macs;
        for (const Intf& intf : reported().intfs) {
            if (intf.bridge == bridge.index) macs.push_back(intf.mac);
        }
        if (macs.empty()) continue;
        BrdgDesc* desc = built.append();
        if (desc == nullptr) return kFailure;
        desc->macNum = static_cast<uint32_t>(macs.size());
        desc->macs = copyOf(macs.data(), macs.size() * PLATFORM_MAC_LEN);
        if (desc->macs == nullptr) return kFailure;
        tuples++;
    }
    list->tupleNum = tuples;
    list->head = built.release();
    return kOk;
}

int getSecurityConfig(SecurityDesc* desc) {
    if (desc == nullptr) return kFailure;
    *desc = {};
    const std::string_view key = conf().value("SECURITY_KEY");
    desc->mode = parseNumber(conf().value("SECURITY_MODE")).value_or(0);
    desc->value = copyOf(key.data(), key.size());
    if (desc->value == nullptr && !key.empty()) return kFailure;
    desc->len = static_cast<uint16_t>(key.size());
    return kOk;
}

int getLinkMetricList(const uint8_t* intfMac, uint32_t mediaType, LinkDescList* list) {
    if (intfMac == nullptr || list == nullptr) return kFailure;
    *list = {};
    ListBuilder<LinkDesc> built([](LinkDesc* desc) { free(desc); });
    uint16_t links = 0;
    int result = kNoLocalIntf;
    // The ports of a switch may share one MAC; the daemon knows which neighbor is on which.
    for (const Intf& intf : reported().intfs) {
        if (intf.mac != MacAddr(intfMac) || intf.mediaType != mediaType) continue;
        result = appendLinks(intf, built, links);
        if (result != kOk) return result;
    }
    if (result != kOk) return result;
    list->linkNum = links;
    list->head = built.release();
    return kOk;
}

int getDeviceSendMsgEnable(const char* intfName) {
    return intfName != nullptr && reported().byName(intfName) != nullptr ? kOk : kFailure;
}
