// The only place that asks the system for the time.
#pragma once

#include <cstdint>

using Seconds = int64_t;

// Seconds since the epoch, by a clock that never steps: the wall clock at the start of the daemon
// plus the time since then. All aging compares these stamps, so that setting the clock after boot
// neither expires anything nor keeps it forever.
Seconds now();

// Between two calls, now() stays the same: a pass of the main loop needs it many times. It follows
// the clock again after releaseTime.
void holdTime();
void releaseTime();

// The wall clock in whole seconds since the epoch.
Seconds wallClock();

// Converts a stamp of now() to the wall clock as it is set at present, for stamps that people or
// clients see.
Seconds toWallClock(Seconds stamp);

// Time since boot in milliseconds or microseconds, for what is shorter than the steps of now().
int64_t uptimeMs();
int64_t uptimeUs();

// Waits this many microseconds, or until a signal arrives. A held time is then that of the end.
void sleepMicroseconds(unsigned microseconds);

// Replaces the source of now(), wallClock(), uptimeMs() and uptimeUs(); nullptr restores the
// system's clock.
using ClockSource = Seconds (*)();
void setClockSource(ClockSource source);
