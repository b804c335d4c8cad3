// When a Registrar orders what. A round sends every device that runs another firmware than the
// announced one its order, waits until all have fetched it, and reboots them.
#pragma once

#include <chrono>

class UpgradeRounds {
  public:
    using Time = std::chrono::steady_clock::time_point;

    // Until what did not follow, or has joined, is ordered again.
    static constexpr std::chrono::minutes kRetry{60};

    // Begins anew: what is announced has changed.
    void restart() { *this = {}; }

    // To be called every few seconds. True when this device itself is the next, as a round has
    // ended well or the last one has ended; after each round it rests.
    bool advance(Time now);

    // Whether devices have been ordered in the round that is under way.
    bool isServing() const { return ordered_ && phase_ != Phase::kResting; }

  private:
    enum class Phase { kStarting, kOrdering, kRebooting, kResting };
    bool order(Time now);
    bool reboot(Time now);
    void enter(Phase phase, Time now);

    Phase phase_ = Phase::kStarting;
    Time since_{};      // begin of the phase
    Time lastCall_{};   // of the first phase of the daemon
    Time lastOrder_{};  // or begin of the round
    bool ordered_ = false;
    bool isRetry_ = false;  // the round before did not end well
    int rounds_ = 0;        // in which there was anything to order
};
