#include "base/clock.h"

#include <unistd.h>
#include <ctime>

namespace {

constexpr int64_t kNanoseconds = 1'000'000'000;

ClockSource testSource = nullptr;

int64_t nanoseconds(clockid_t clock) {
    timespec t{};
    clock_gettime(clock, &t);
    return t.tv_sec * kNanoseconds + t.tv_nsec;
}

// How far the wall clock is ahead of the time since boot, in nanoseconds.
int64_t wallClockLead() {
    return nanoseconds(CLOCK_REALTIME) - nanoseconds(CLOCK_BOOTTIME);
}

const int64_t leadAtStart = wallClockLead();

Seconds heldTime = 0;  // 0: it is not held

Seconds readTime() {
    return (nanoseconds(CLOCK_BOOTTIME) + leadAtStart) / kNanoseconds;
}

}  // namespace

Seconds now() {
    if (testSource != nullptr) return testSource();
    return heldTime != 0 ? heldTime : readTime();
}

void holdTime() {
    heldTime = readTime();
}

void releaseTime() {
    heldTime = 0;
}

Seconds wallClock() {
    return testSource != nullptr ? testSource() : time(nullptr);
}

Seconds toWallClock(Seconds stamp) {
    if (testSource != nullptr) return stamp;
    const int64_t stepped = wallClockLead() - leadAtStart;
    // Rounded to the nearest second.
    const int64_t half = stepped < 0 ? -kNanoseconds / 2 : kNanoseconds / 2;
    return stamp + (stepped + half) / kNanoseconds;
}

int64_t uptimeMs() {
    return uptimeUs() / 1000;
}

int64_t uptimeUs() {
    if (testSource != nullptr) return testSource() * 1'000'000;
    return nanoseconds(CLOCK_BOOTTIME) / 1000;
}

void sleepMicroseconds(unsigned microseconds) {
    usleep(microseconds);
    if (heldTime != 0) holdTime();
}

void setClockSource(ClockSource source) {
    testSource = source;
}
