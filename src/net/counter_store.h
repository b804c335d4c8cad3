// The counters of the key of the mesh, which outlive a restart.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>

#include "base/mac_addr.h"

// A device and the key under which it sends; keyTag identifies the key without revealing it.
struct KeyedSender {
    uint64_t keyTag = 0;
    MacAddr alMac;  // all-zero: this device

    auto operator<=>(const KeyedSender&) const = default;
};

// Of another device the highest counter of an order, of this device its last start number.
using StoredCounters = std::map<KeyedSender, uint64_t>;

// The stored counters; empty without a valid file.
[[nodiscard]] StoredCounters loadCounters();
// Replaces the stored counters, on the disk when it returns. kOk or kFailure.
[[nodiscard]] int saveCounters(const StoredCounters& counters);

// Whether this device has ever sent under the key with this tag. The note lies outside the folder
// "state", so that the loss of the counters is noticed. std::nullopt if it cannot be read.
[[nodiscard]] std::optional<bool> keyWasUsed(uint64_t keyTag);
// Makes the note. kOk or kFailure.
[[nodiscard]] int noteKeyUse(uint64_t keyTag);
