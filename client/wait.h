// A wait with a time limit: short sleeps that grow, and progress calls in between.
#pragma once

#include <chrono>

#include "vm1905_client.h"

struct Progress {
    vm1905_progress call = nullptr;
    void* argument = nullptr;
};

class Wait {
  public:
    Wait(unsigned ms, const Progress& progress);

    // Sleeps briefly. 0, VM1905_TIMEOUT if no time is left, or VM1905_CANCELLED.
    [[nodiscard]] int pause();
    void limit(unsigned ms);  // to this many milliseconds from now
    unsigned left() const;    // milliseconds

  private:
    using Clock = std::chrono::steady_clock;

    Progress progress_;
    Clock::time_point begin_ = Clock::now();
    Clock::time_point end_;
    Clock::time_point nextProgress_;
    Clock::duration step_;
};
