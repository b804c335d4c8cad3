#include "net/relay_limit.h"

#include <algorithm>

#include "base/log.h"
#include "base/state.h"
#include "db/database.h"

namespace {

constexpr unsigned kMaxRelays = 256;
constexpr unsigned kMaxOfDevice = 64;
constexpr size_t kMaxOfStrangers = kMaxRelays / 2;

bool isKnown(const MacAddr& alMac) {
    return std::ranges::any_of(getIeee1905DevTables(),
                               [&](const auto& dev) { return dev.alMac == alMac; });
}

size_t limitOfPort() {
    const size_t ports = std::max<size_t>(getIntfPorts().size(), 1);
    return std::max<size_t>(kMaxOfStrangers / ports, 1);
}

// Counts a relay unless the limit is reached.
template <typename Counters, typename Key>
bool take(Counters& counters, const Key& key, size_t limit) {
    const auto it = counters.find(key);
    const unsigned taken = it != counters.end() ? it->second : 0;
    if (taken >= limit) return false;
    counters[key] = taken + 1;
    return true;
}

}  // namespace

bool mayRelay(const MacAddr& alMac, const Port& incoming) {
    auto& relays = stateOf<RelayLimit>();
    if (relays.second != now()) relays = {.second = now()};
    if (relays.total < kMaxRelays &&
        (isKnown(alMac) ? take(relays.byDevice, alMac, kMaxOfDevice)
                        : take(relays.byPort, incoming.ifIndex, limitOfPort()))) {
        relays.total++;
        return true;
    }
    if (!relays.isReported) {
        LOG(2, "too many multicasts, one of (" MAC_FMT ") is not relayed\r\n", MAC_ARGS(alMac));
    }
    relays.isReported = true;
    return false;
}
