// A fixed table of messages that gives up its oldest entry when full.
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
    };
    static constexpr int32_t kFree = -1;
    static constexpr Seconds kNoAge = INT64_MAX;

    void clear() { entries_ = {}; }
    // Into the first free entry, else over the oldest; of equally old ones the first. Returns the
    // age of the entry that gave way in seconds, kNoAge when none did.
    Seconds store(const MacAddr& alMac, uint16_t msgType, uint16_t msgId);
    // The first entry in use for which matches(entry) is true, nullptr when there is none.
    template <typename Matches>
    Entry* find(Matches matches) {
        for (Entry& entry : entries_) {
            if (entry.msgId != kFree && matches(entry)) return &entry;
        }
        return nullptr;
    }

  private:
    std::array<Entry, 64> entries_{};
};
