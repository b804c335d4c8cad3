#include "orders/firmware_upgrade_list.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/records.h"

namespace {

std::list<FWupgradeEntry>& entries() {
    return stateOf<FWupgradeList>().FWupgradelistHead;
}

// Meant: option 1 starts a new entry as in progress and leaves its sent flag alone.
int addNew(const MacAddr& alMac, int option, long value) {
    if (entries().size() >= kMaxNbrDevs) {
        LOG(2, "too many upgrades, refuse (" MAC_FMT ")\r\n", MAC_ARGS(alMac));
        return kFailure;
    }
    FWupgradeEntry& entry = entries().emplace_back();
    entry.alMac = alMac;
    if (option == kFWupgradeSetState) entry.state = static_cast<int32_t>(value);
    if (option == kFWupgradeSetSent) entry.state = kFWupgradeOrdered;
    if (entry.state == kFWupgradeOrdered) entry.time = now();
    return kOk;
}

void change(FWupgradeEntry& entry, int option, long value) {
    switch (option) {
        case kFWupgradeSetState:
            if (entry.state == kFWupgradeFinished) return;
            entry.state = static_cast<int32_t>(value);
            if (entry.state == kFWupgradeOrdered) entry.time = now();
            return;
        case kFWupgradeSetSent:
            entry.sent = static_cast<int32_t>(value);
            return;
        case kFWupgradeSetTime:
            entry.time = value;
            return;
        default:
            return;
    }
}

}  // namespace

int addFWupgradelist(const MacAddr& alMac, int option, long value) {
    LOG(4, "alMac = " MAC_FMT ", option = %d, value = %li\n", MAC_ARGS(alMac), option, value);
    FWupgradeEntry* entry = findFWupgradelist(alMac);
    if (entry == nullptr) return addNew(alMac, option, value);
    change(*entry, option, value);
    return kOk;
}

FWupgradeEntry* findFWupgradelist(const MacAddr& alMac) {
    const auto it = std::find_if(entries().begin(), entries().end(),
                                 [&](const FWupgradeEntry& e) { return e.alMac == alMac; });
    return it != entries().end() ? &*it : nullptr;
}

size_t countFWupgradelist(Seconds maxAge) {
    return static_cast<size_t>(std::ranges::count_if(entries(), [&](const FWupgradeEntry& e) {
        return e.state == kFWupgradeOrdered && now() - e.time <= maxAge;
    }));
}

int removeallFWupgradelist() {
    entries().clear();
    return kOk;
}

void addFWupgradelistHistory(const MacAddr& /*alMac*/, int /*value*/) {}

int removeFWupgradelist(const MacAddr& alMac) {
    // A copy: alMac may be part of the entry that is removed.
    const MacAddr gone = alMac;
    entries().remove_if([&](const FWupgradeEntry& e) { return e.alMac == gone; });
    return kOk;
}
