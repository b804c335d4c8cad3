#include "netctrl/firmware_rounds.h"

#include "common/log.h"

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

constexpr seconds kOrderPeriod{10};
// The daemon sends a device no second order within 30 seconds: as long as this after the last one
// its silence may mean that a device has failed and waits for the next.
constexpr seconds kQuiet{31};
constexpr seconds kMostOrdering{300};
// The daemon does not tell whether any device is still at work, so this is enough for the slowest:
// 4 minutes to fetch, what verifying takes, 10 to install, and a reboot.
constexpr seconds kMostRebooting{1200};
constexpr minutes kPause{1};  // when nobody needed an order
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
    // After a round that did not end well some may only wait for their reboot.
    if (ordered_ || isRetry_) {
        LOG_LINE(3, "firmware: all devices are ordered");
        enter(Phase::kRebooting, now);
        return false;
    }
    enter(Phase::kResting, now);
    return true;
}

bool UpgradeRounds::reboot(Time now) {
    const bool done = checkEXdeviceFWStateIsReady() == 0;
    if (!done && now - since_ < kMostRebooting) return false;
    if (done) LOG_LINE(3, "firmware: all devices have been rebooted");
    if (!done) {
        LOG_LINE(1, "firmware: some devices did not follow in time");
        // A device that never tells its state, of another maker's maybe, must not keep those back
        // that stand ready.
        sendEXdeviceReboot();
    }
    const bool last = ++rounds_ == kMostRounds;
    if (last) LOG_LINE(1, "firmware: no more orders until it is announced anew");
    isRetry_ = !done;
    enter(Phase::kResting, now);
    return done || last;
}

bool UpgradeRounds::advance(Time now) {
    switch (phase_) {
        case Phase::kStarting:
            // The devices that stand ready since the last round are rebooted in this one only while
            // they are listed.
            if (!isRetry_) removeallFWupgradelist();
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
            if (rounds_ < kMostRounds && now - since_ >= (ordered_ || isRetry_ ? kRetry : kPause)) {
                phase_ = Phase::kStarting;
            }
            return false;
    }
    return false;
}
