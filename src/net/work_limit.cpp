#include "net/work_limit.h"

#include <algorithm>

#include "base/log.h"
#include "base/state.h"
#include "db/database.h"

namespace {

constexpr unsigned kMaxOfSource = 512;
constexpr unsigned kMaxOfStrangers = 2048;
constexpr size_t kMaxAnswered = kMaxNbrDevs;

WorkLimit& module() {
    return stateOf<WorkLimit>();
}

bool isStranger(const MacAddr& mac) {
    const auto it = module().answered.find(mac);
    return it == module().answered.end() || findNbrDev(it->second) == nullptr;
}

}  // namespace

bool mayWork(const MacAddr& srcMac, Work work, unsigned count) {
    if (count == 0) return true;
    auto& limit = module();
    if (limit.second != now()) {
        limit.second = now();
        limit.ofStrangers = 0;
        limit.bySource.clear();
    }
    const unsigned cost = static_cast<unsigned>(work) * count;
    const auto it = limit.bySource.find(srcMac);
    const unsigned used = it != limit.bySource.end() ? it->second : 0;
    const bool stranger = isStranger(srcMac);
    if (used + cost <= kMaxOfSource && (!stranger || limit.ofStrangers + cost <= kMaxOfStrangers)) {
        limit.bySource[srcMac] = used + cost;
        if (stranger) limit.ofStrangers += cost;
        return true;
    }
    if (limit.reported.isFirst(srcMac)) {
        LOG(2,
            "too many messages, those of (" MAC_FMT ") are dropped for the rest of this second\r\n",
            MAC_ARGS(srcMac));
    }
    return false;
}

void noteAnswer(const MacAddr& srcMac, const MacAddr& alMac) {
    auto& answered = module().answered;
    if (answered.size() >= std::min(kMaxAnswered, 64 + 4 * getNbrDevTable().size())) {
        std::erase_if(answered, [](const auto& entry) { return isStranger(entry.first); });
    }
    if (answered.size() < kMaxAnswered) answered[srcMac] = alMac;
}
