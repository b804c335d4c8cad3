#include "net/work_limit.h"

#include <algorithm>

#include "base/log.h"
#include "base/state.h"
#include "db/database.h"

namespace {

constexpr unsigned kMaxOfSource = 512;
constexpr unsigned kMaxOfAll = 2048;

bool isKnown(const MacAddr& mac) {
    return std::ranges::any_of(getIeee1905DevTables(), [&](const auto& dev) {
        return dev.alMac == mac || std::ranges::count(dev.intfs, mac, &DevIntf::mac) != 0;
    });
}

}  // namespace

bool mayWork(const MacAddr& srcMac, Work work) {
    auto& limit = stateOf<WorkLimit>();
    if (limit.second != now()) {
        limit.second = now();
        limit.total = 0;
        limit.bySource.clear();
    }
    const auto cost = static_cast<unsigned>(work);
    const auto it = limit.bySource.find(srcMac);
    const unsigned used = it != limit.bySource.end() ? it->second : 0;
    if (used + cost <= kMaxOfSource && (limit.total + cost <= kMaxOfAll || isKnown(srcMac))) {
        limit.bySource[srcMac] = used + cost;
        limit.total += cost;
        return true;
    }
    if (limit.reported.isFirst(srcMac)) {
        LOG(2,
            "too many messages, those of (" MAC_FMT ") are dropped for the rest of this second\r\n",
            MAC_ARGS(srcMac));
    }
    return false;
}
