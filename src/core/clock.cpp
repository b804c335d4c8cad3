#include "core/clock.h"

#include <unistd.h>
#include <ctime>

namespace {

ClockSource testSource = nullptr;

Seconds monotonic() {
    timespec t{};
    clock_gettime(CLOCK_BOOTTIME, &t);
    return t.tv_sec;
}

}  // namespace

Seconds now() {
    if (testSource != nullptr) return testSource();
    static const Seconds offset = time(nullptr) - monotonic();
    return offset + monotonic();
}

Seconds wallClock() {
    return testSource != nullptr ? testSource() : time(nullptr);
}

Seconds toWallClock(Seconds stamp) {
    return wallClock() - (now() - stamp);
}

void sleepMicroseconds(unsigned microseconds) {
    usleep(microseconds);
}

void setClockSource(ClockSource source) {
    testSource = source;
}
