#include "netctrl/firmware_rounds.h"

#include "common/log.h"

namespace {

using std::chrono::minutes;
using std::chrono::seconds;

constexpr seconds kOrderPeriod{10};
// The daemon does not repeat an order within 30 seconds. So for that long after the last order, no
// new one may also mean that a device has failed and waits for it.
constexpr seconds kQuiet{31};
constexpr seconds kMostOrdering{300};
// The daemon does not report whether a device is still busy, so this is enough for the slowest: 4
// minutes to fetch, the verification, 10 minutes to install, and the reboot.
constexpr seconds kMostRebooting{1200};
constexpr minutes kPause{1};  // after a round without orders
// Ends the reboots of a device that reports an installation but comes back with its old version.
constexpr int kMostRounds = 3;

// In mode 1 a device that failed at the version it now runs is also ordered to clear that state.
// Once per round is enough.
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
    // After a failed round, some devices may be waiting only for their reboot.
    if (ordered_ || isRetry_) {
        LOG_LINE(3, "firmware: all orders are sent");
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
        // A device that never reports its state must not hold back those that are ready.
        sendEXdeviceReboot();
    }
    const bool last = ++rounds_ == kMostRounds;
    if (last) LOG_LINE(1, "firmware: no more orders until the announcement changes");
    isRetry_ = !done;
    enter(Phase::kResting, now);
    return done || last;
}

bool UpgradeRounds::advance(Time now) {
    switch (phase_) {
        case Phase::kStarting:
            // Devices that are ready since a failed round must stay listed to be rebooted.
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
