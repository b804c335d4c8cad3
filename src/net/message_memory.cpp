#include "net/message_memory.h"

void MessageMemory::store(const MacAddr& alMac, uint16_t msgType, uint16_t msgId) {
    const Seconds time = now();
    Entry* slot = entries_.data();
    Seconds greatestAge = time - slot->time;
    for (Entry& entry : entries_) {
        if (entry.msgId == kFree) {
            slot = &entry;
            break;
        }
        if (time - entry.time > greatestAge) {
            slot = &entry;
            greatestAge = time - entry.time;
        }
    }
    *slot = {alMac, msgType, msgId, time};
}
