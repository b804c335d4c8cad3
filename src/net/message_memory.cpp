#include "net/message_memory.h"

#include <algorithm>

void MessageMemory::store(const MacAddr& alMac, uint16_t msgType, uint16_t msgId) {
    auto* const oldest = std::ranges::min_element(
        entries_, {}, [](const Entry& entry) { return entry.msgId == kFree ? 0 : entry.order; });
    *oldest = {alMac, msgType, msgId, now(), ++stored_, false};
}
