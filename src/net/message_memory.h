// A table of fixed size that remembers messages. If it is full, a new entry replaces the oldest.
#pragma once

#include <array>
#include <cstdint>

#include "base/clock.h"
#include "base/mac_addr.h"

class MessageMemory {
  public:
    struct Entry {
        MacAddr alMac;
        uint16_t msgType = 0;
        int32_t msgId = kFree;
        Seconds time = 0;
        uint64_t order = 0;           // of storing: many are stored in the same second
        bool othersAnswered = false;  // a query: another device than the one asked has answered
    };
    static constexpr int32_t kFree = -1;

    void clear() { entries_ = {}; }
    // Stores a message with the present time in the first free entry, else over the oldest.
    void store(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);
    // The first used entry for which matches(entry) is true, nullptr if there is none.
    template <typename Matches>
    Entry* find(Matches matches) {
        for (Entry& entry : entries_) {
            if (entry.msgId != kFree && matches(entry)) return &entry;
        }
        return nullptr;
    }

  private:
    std::array<Entry, 64> entries_{};
    uint64_t stored_ = 0;
};
