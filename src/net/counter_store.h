// The counters of the key of the mesh, which outlive a restart. They are kept in the folder "state"
// of the configuration folder, which only the daemon may enter.
#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>

#include "base/mac_addr.h"

// A device and the key under which it sends; keyTag identifies the key without revealing it.
struct KeyedSender {
    uint64_t keyTag = 0;
    MacAddr alMac;

    auto operator<=>(const KeyedSender&) const = default;
};

struct StoredCounters {
    uint32_t start = 0;                      // the last start number of this device, 0 if none
    std::map<KeyedSender, uint64_t> orders;  // the highest counter of an order
};

// The stored counters; start is that of the key with this tag. Empty without a valid file.
[[nodiscard]] StoredCounters loadCounters(uint64_t keyTag);
// Replaces the stored counters, on the disk when it returns. kOk or kFailure.
[[nodiscard]] int saveCounters(uint64_t keyTag, const StoredCounters& counters);

// Whether this device has ever sent under the key with this tag. The note lies outside the folder
// "state", so that the loss of the counters is noticed. std::nullopt if it cannot be read.
[[nodiscard]] std::optional<bool> keyWasUsed(uint64_t keyTag);
// Makes the note. kOk or kFailure.
[[nodiscard]] int noteKeyUse(uint64_t keyTag);
