// A clock that only the test moves.
#pragma once

#include "base/clock.h"

namespace test_clock {
inline Seconds time = 0;
inline Seconds read() {
    return time;
}
}  // namespace test_clock

inline void setTestTime(Seconds seconds) {
    test_clock::time = seconds;
    setClockSource(test_clock::read);
}
inline void advance(Seconds seconds) {
    setTestTime(test_clock::time + seconds);
}
inline void useSystemClock() {
    setClockSource(nullptr);
}
