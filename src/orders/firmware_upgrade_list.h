// Where the firmware upgrades of the remote devices stand.
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
    Seconds time = 0;  // of the last order or re-stamp
};

struct FWupgradeList {
    std::list<FWupgradeEntry> FWupgradelistHead;
};

// Enters the device when it is new, and sets what the option names. kOk, or kFailure when the list
// is full.
int addFWupgradelist(const MacAddr& alMac, int option, long value);
// nullptr when the device has no entry. Valid until the entry is removed.
FWupgradeEntry* findFWupgradelist(const MacAddr& alMac);
// How many devices are at an upgrade that was ordered at most so many seconds ago.
size_t countFWupgradelist(Seconds maxAge);
// Removes the entries of a device; removeallFWupgradelist (platform/exports.h) those of all. kOk.
int removeFWupgradelist(const MacAddr& alMac);

// Told of every decision about a device: 1 an order was sent, 0 none was needed. An extension
// point: nothing is kept.
void addFWupgradelistHistory(const MacAddr& alMac, int value);
