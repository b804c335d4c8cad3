// Keeps a log readable while somebody floods the network.
#pragma once

#include <set>

#include "base/clock.h"
#include "base/mac_addr.h"

class OnceASecond {
  public:
    // True once a second for each sender, and for at most 64 senders.
    [[nodiscard]] bool isFirst(const MacAddr& sender) {
        if (const Seconds time = now(); second_ != time) {
            second_ = time;
            senders_.clear();
        }
        return senders_.size() < kMaxSenders && senders_.insert(sender).second;
    }

  private:
    static constexpr size_t kMaxSenders = 64;

    Seconds second_ = 0;
    std::set<MacAddr> senders_;
};
