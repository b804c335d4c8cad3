// The rounds of a Registrar. A round orders every device with another version than the announced
// one to fetch it, waits until all have installed it, and reboots them.
#pragma once

#include <chrono>

class UpgradeRounds {
  public:
    using Time = std::chrono::steady_clock::time_point;

    // Pause before devices that did not follow, or have joined, are ordered again.
    static constexpr std::chrono::minutes kRetry{60};

    // Starts over, after a change of the announcement.
    void restart() { *this = {}; }

    // Call every few seconds. True once it is this device's turn: after a round in which all
    // devices followed, or after the last round.
    bool advance(Time now);

    // Whether devices have been ordered in the present round.
    bool isServing() const { return ordered_ && phase_ != Phase::kResting; }

  private:
    enum class Phase { kStarting, kOrdering, kRebooting, kResting };
    bool order(Time now);
    bool reboot(Time now);
    void enter(Phase phase, Time now);

    Phase phase_ = Phase::kStarting;
    Time since_{};      // start of the phase
    Time lastCall_{};   // of checkEXdeviceFWVersion
    Time lastOrder_{};  // or start of the round
    bool ordered_ = false;
    bool isRetry_ = false;  // the last round failed
    int rounds_ = 0;        // with orders
};
