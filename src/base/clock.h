// The only place that asks the system for the time.
#pragma once

#include <cstdint>

using Seconds = int64_t;

// Whole seconds since the epoch that never step: the wall clock when the daemon started plus the
// monotonic time since then. All ageing compares these, so that setting the clock after boot
// neither ages anything out nor freezes it.
Seconds now();

// The present wall clock in whole seconds since the epoch.
Seconds wallClock();

// Maps a stamp taken with now() to the wall clock as it is set at present. For stamps that are
// shown to a person or a client.
Seconds toWallClock(Seconds stamp);

// Waits; ends early when a signal arrives.
void sleepMicroseconds(unsigned microseconds);

// Replaces the source of now() and wallClock(); nullptr restores the system's clock.
using ClockSource = Seconds (*)();
void setClockSource(ClockSource source);
