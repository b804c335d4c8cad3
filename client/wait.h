// A bounded wait: short sleeps that grow, progress told to the caller meanwhile.
#pragma once

#include <chrono>

#include "vm1905_client.h"

struct Progress {
    vm1905_progress tell = nullptr;
    void* argument = nullptr;
};

class Wait {
  public:
    Wait(unsigned ms, const Progress& progress);

    // Sleeps a little. 0, VM1905_TIMEOUT when no time is left, VM1905_CANCELLED.
    int pause();
    // No more than so many milliseconds from now.
    void limit(unsigned ms);
    unsigned left() const;  // milliseconds

  private:
    using Clock = std::chrono::steady_clock;

    Progress progress_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point end_;
    Clock::time_point nextTold_;
    Clock::duration step_;
};
