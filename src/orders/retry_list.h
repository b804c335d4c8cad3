// Orders to other devices that are repeated until the device answers: the messages that carry them
// are not acknowledged otherwise.
#pragma once

#include <list>
#include <utility>

#include "base/log.h"
#include "base/mac_addr.h"
#include "base/result.h"
#include "orders/schedule.h"

inline constexpr size_t kMaxRetryEntries = 4096;

template <typename Value>
struct RetryEntry {
    MacAddr almac;
    uint16_t msgId =
        0;  // of the first sending: the waiting client is answered under it, 0 for none
    Value value{};
    int flag = 0;   // 1 waiting for the answer, 0 answered or given up
    int count = 0;  // repetitions so far
};

// The list of one kind of order. A kind names the Value that is repeated with an order, the kCheck
// that runs the list, the kLimit (a setting) of its repetitions, a kRetryLine for the log, and the
// function send(entry) that repeats the order.
template <typename Kind>
class RetryList {
  public:
    using Value = typename Kind::Value;
    using Entry = RetryEntry<Value>;

    // The entry of the device, of several the first that waits; nullptr when there is none.
    Entry* find(const MacAddr& almac) {
        Entry* found = nullptr;
        for (Entry& entry : entries_) {
            if (entry.almac != almac) continue;
            if (entry.flag == 1) return &entry;
            if (found == nullptr) found = &entry;
        }
        return found;
    }

    // The device has answered: its order is not repeated any more. The identifier under which the
    // client of the order waits, 0 when none does.
    uint16_t answered(const MacAddr& almac) {
        Entry* entry = find(almac);
        if (entry == nullptr) return 0;
        entry->flag = 0;
        return std::exchange(entry->msgId, uint16_t{0});
    }

    // kOk, or kFailure when the list is full.
    int append(Entry&& entry) {
        if (entries_.size() >= kMaxRetryEntries) {
            LOG(2, "too many orders, refuse (" MAC_FMT ")\r\n", MAC_ARGS(entry.almac));
            return kFailure;
        }
        entries_.push_back(std::move(entry));
        return kOk;
    }

    // A new order takes the place of an earlier one to the same device. kOk or kFailure.
    int replace(Entry&& entry) {
        Entry* earlier = find(entry.almac);
        if (earlier == nullptr) return append(std::move(entry));
        *earlier = std::move(entry);
        return kOk;
    }

    // There is work: the next pass comes one full period from now.
    void activate() {
        active_ = true;
        checkTimeStamp(Kind::kCheck) = now();
    }

    // Repeats every order that was not answered; a pass that has nothing to repeat frees the list.
    void repeat() {
        if (!active_ || entries_.empty()) return;
        const int limit = scheduleSettings().*Kind::kLimit;
        int sent = 0;
        for (Entry& entry : entries_) {
            if (entry.flag == 1 && entry.count < limit) {
                LOG_PUTS(4, Kind::kRetryLine);
                Kind::send(entry);
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
    bool active_ = false;  // from the first order until a pass has sent nothing
};
