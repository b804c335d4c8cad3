// Orders to other devices, repeated until the device answers. Nothing else acknowledges the
// messages that carry them.
#pragma once

#include <list>
#include <utility>

#include "base/log.h"
#include "base/mac_addr.h"
#include "base/result.h"

inline constexpr size_t kMaxRetryEntries = 4096;

template <typename Value>
struct RetryEntry {
    MacAddr almac;
    // Of the first transmission, under which the client waits; 0 if none waits.
    uint16_t msgId = 0;
    Value value{};
    int flag = 0;   // 1: waiting for the answer, 0: answered or given up
    int count = 0;  // repetitions so far
};

// The list of one kind of order. Value is what the order carries.
template <typename Value>
class RetryList {
  public:
    using Entry = RetryEntry<Value>;

    // The entry of the device, nullptr if there is none. Of several, the first that waits.
    Entry* find(const MacAddr& almac) {
        Entry* found = nullptr;
        for (Entry& entry : entries_) {
            if (entry.almac != almac) continue;
            if (entry.flag == 1) return &entry;
            if (found == nullptr) found = &entry;
        }
        return found;
    }

    // Ends the repetition of all orders to a device, which has answered one of them. Calls
    // answer(msgId) for each for which a client waits. False if there is none.
    template <typename Answer>
    bool answered(const MacAddr& almac, Answer&& answer) {
        bool found = false;
        for (Entry& entry : entries_) {
            if (entry.almac != almac) continue;
            found = true;
            entry.flag = 0;
            const uint16_t msgId = std::exchange(entry.msgId, uint16_t{0});
            if (msgId != 0) answer(msgId);
        }
        return found;
    }

    // Appends an order and drops those that are finished: a client may still wait for one that was
    // given up. kOk, or kFailure if the list is full.
    [[nodiscard]] int append(Entry&& entry) {
        entries_.remove_if([](const Entry& other) { return other.flag == 0 && other.msgId == 0; });
        if (entries_.size() >= kMaxRetryEntries) {
            LOG(2, "too many orders, refuse (" MAC_FMT ")\r\n", MAC_ARGS(entry.almac));
            return kFailure;
        }
        entries_.push_back(std::move(entry));
        return kOk;
    }

    // Replaces an earlier order to the same device, or appends. kOk, or kFailure if the list is
    // full.
    [[nodiscard]] int replace(Entry&& entry) {
        Entry* earlier = find(entry.almac);
        if (earlier == nullptr) return append(std::move(entry));
        *earlier = std::move(entry);
        return kOk;
    }

    // Starts the repetition, which ends when a pass finds nothing to repeat.
    void activate() { active_ = true; }

    // Calls send(entry) for every unanswered order, at most limit times each, and logs retryLine
    // before. Empties the list if there is nothing to repeat.
    template <typename Send>
    void repeat(int limit, const char* retryLine, Send&& send) {
        if (!active_ || entries_.empty()) return;
        int sent = 0;
        for (Entry& entry : entries_) {
            if (entry.flag == 1 && entry.count < limit) {
                LOG_PUTS(4, retryLine);
                send(entry);
                entry.count++;
                sent++;
            }
            if (entry.count >= limit) entry.flag = 0;
        }
        if (sent == 0) clear();
    }

    void clear() {
        entries_.clear();
        active_ = false;
    }

  private:
    std::list<Entry> entries_;
    bool active_ = false;
};
