// The progress of the firmware upgrades of the remote devices.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "platform/exports.h"

enum FWupgradeState : int32_t {
    kFWupgradeNone = 0,
    kFWupgradeOrdered = 1,
    kFWupgradeFinished = 2,  // the device has answered its reboot order
};

// What addFWupgradelist sets.
enum FWupgradeOption : int { kFWupgradeSetState = 0, kFWupgradeSetSent = 1, kFWupgradeSetTime = 2 };

struct FWupgradeEntry {
    MacAddr alMac;
    int32_t state = kFWupgradeNone;
    int32_t sent = 0;  // 1: a firmware-control request was sent
    Seconds time = 0;  // of the last order, or as set by kFWupgradeSetTime
};

struct FWupgradeList {
    std::list<FWupgradeEntry> FWupgradelistHead;
};

// Sets the member that option (FWupgradeOption) selects to value, a state, a flag or a time in
// seconds. A device without an entry gets one. A finished upgrade keeps its state. kOk, or kFailure
// if the list is full.
int addFWupgradelist(const MacAddr& alMac, int option, long value);
// The entry of a device, nullptr if it has none. Valid until the entry is removed.
FWupgradeEntry* findFWupgradelist(const MacAddr& alMac);
// The number of upgrades under way that were ordered at most maxAge seconds ago.
size_t countFWupgradelist(Seconds maxAge);

// Called on every decision about a device with value 1 if an order was sent, 0 if none was needed.
// An extension point: nothing is stored.
void addFWupgradelistHistory(const MacAddr& alMac, int value);

// The daemon itself does not call this one.

// Removes the entry of one device; removeallFWupgradelist (platform/exports.h) removes all. kOk.
int removeFWupgradelist(const MacAddr& alMac);
