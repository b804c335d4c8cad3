// Reading the tables of the daemon, which are asked for entry by entry.
#pragma once

#include <string>

#include "failure.h"
#include "vm1905_client.h"

inline constexpr unsigned kMaxEntries = 256;  // as many as an index can count

// Calls ask(index) for each entry until the table ends, and take() after each that was read. what
// names the table in a Failure. Returns the number of entries.
template <typename Ask, typename Take>
unsigned walkTable(const std::string& what, Ask&& ask, Take&& take) {
    for (unsigned index = 0; index < kMaxEntries; index++) {
        const int result = ask(static_cast<uint8_t>(index));
        if (result == VM1905_BAD_INDEX || result == VM1905_EMPTY) return index;
        check(result, what);
        take();
    }
    return kMaxEntries;
}
