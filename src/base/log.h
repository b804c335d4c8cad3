// The debug log: one line per call on standard output, flushed at once. A line of level L is
// printed when DEBUGLEVEL >= L.
#pragma once

#include <cstdint>

#include "platform/exports.h"

// Levels: 0 critical, 1 errors, 2 warnings, 3 informational, 4 debugging, 5 verbose.
#define LOG(level, ...)                                                               \
    do {                                                                              \
        if (DEBUGLEVEL >= (level)) logLine((level), __func__, __LINE__, __VA_ARGS__); \
    } while (0)

// The same for a constant text that carries no line feed of its own.
#define LOG_PUTS(level, text) LOG(level, "%s\n", text)

// Prints the prefix, the message, and flushes. Used through the macros.
void logLine(int level, const char* function, int line, const char* format, ...)
    __attribute__((format(printf, 4, 5)));

// Stores the low 8 bits as running level and forwards it to the platform library; kOk.
int setDebugLevel(uint8_t level);
uint8_t getDebugLevel();

// Hands a line (NUL-terminated by this function, printf-like) to the platform log.
void Outputlog(const char* format, ...) __attribute__((format(printf, 1, 2)));
