#include "netctrl/upgrade_rounds.h"

#include "common/log.h"

namespace plat {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

constexpr seconds kOrderPeriod{10};
// The daemon sends a device no second order within 30 seconds: as long as this after the last one
// its silence may mean that a device has failed and waits for the next.
constexpr seconds kQuiet{31};
constexpr seconds kMostOrdering{300};
// Enough for a device that reports for the daemon's 240 seconds that it is at work, and a reboot.
constexpr seconds kMostRebooting{600};
constexpr minutes kPause{1};   // when nobody needed an order
constexpr minutes kRetry{60};  // until what did not follow, or has joined, is ordered again
// A device that says it has installed the image and comes back with its old one must not be
// rebooted for ever.
constexpr int kMostRounds = 3;

// In mode 1 a device that has failed at what it runs by now is told to forget that; once is enough.
constexpr int kTellFailed = 1;
constexpr int kOrderOnly = 4;

}  // namespace

void UpgradeRounds::enter(Phase phase, Time now) {
    phase_ = phase;
    since_ = now;
}

bool UpgradeRounds::order(Time now) {
    if (lastCall_ != Time{} && now - lastCall_ < kOrderPeriod) return false;
    const bool sent = checkEXdeviceFWVersion(lastCall_ == Time{} ? kTellFailed : kOrderOnly) == 0;
    lastCall_ = now;
    if (sent) {
        lastOrder_ = now;
        ordered_ = true;
    }
    const bool quiet = now - lastOrder_ >= kQuiet;
    if (!quiet && now - since_ < kMostOrdering) return false;
    if (ordered_) {
        PLAT_LOG(3, "firmware: all devices are ordered");
        enter(Phase::kRebooting, now);
        return false;
    }
    enter(Phase::kResting, now);
    return true;
}

bool UpgradeRounds::reboot(Time now) {
    const bool done = checkEXdeviceFWStateIsReady() == 0;
    if (!done && now - since_ < kMostRebooting) return false;
    if (done) PLAT_LOG(3, "firmware: all devices have been rebooted");
    if (!done) PLAT_LOG(1, "firmware: some devices did not follow in time");
    if (++rounds_ == kMostRounds)
        PLAT_LOG(1, "firmware: no more orders until it is announced anew");
    enter(Phase::kResting, now);
    return done;
}

bool UpgradeRounds::advance(Time now) {
    switch (phase_) {
        case Phase::kStarting:
            (void)removeallFWupgradelist();
            ordered_ = false;
            lastCall_ = {};
            lastOrder_ = now;
            enter(Phase::kOrdering, now);
            return order(now);
        case Phase::kOrdering:
            return order(now);
        case Phase::kRebooting:
            return reboot(now);
        case Phase::kResting:
            if (rounds_ < kMostRounds && now - since_ >= (ordered_ ? kRetry : kPause))
                phase_ = Phase::kStarting;
            return false;
    }
    return false;
}

}  // namespace plat
