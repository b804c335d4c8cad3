// The debug log: one line per call on standard output, flushed at once. A line of level L is
// printed if DEBUGLEVEL >= L.
#pragma once

#include <cstdint>

#include "platform/exports.h"

// Levels: 0 critical, 1 errors, 2 warnings, 3 informational, 4 debugging, 5 verbose.
#define LOG(level, ...)                                                               \
    do {                                                                              \
        if (DEBUGLEVEL >= (level)) logLine((level), __func__, __LINE__, __VA_ARGS__); \
    } while (0)

// The same for a constant text; adds the line feed.
#define LOG_PUTS(level, text) LOG(level, "%s\n", text)

// Prints a prefix (wall clock, level, function, line) and the printf-like message, cleaned by
// plainLine and cut to 4095 bytes. Normally called through the macros, which check the level.
void logLine(int level, const char* function, int line, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// Whether the time in the prefix is ISO 8601 in local time; else seconds since the epoch.
void setLogTimeIso(bool isIso);

// Sets the running level, also in the platform library. kOk.
int setDebugLevel(uint8_t level);
// The running level.
uint8_t getDebugLevel();

// Formats a line like printf, cleans it by plainLine, cuts it to 2047 bytes and hands it to the log
// of the platform.
void Outputlog(const char* format, ...) __attribute__((format(printf, 1, 2)));
