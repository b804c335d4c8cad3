// The platform library's debug lines, written to standard output among the daemon's and subject to
// the same level.
#pragma once

#include "platform/exports.h"

// Logs one line, printf-like; the line end is added.
#define LOG_LINE(level, ...)                             \
    do {                                                 \
        if (DEBUGLEVEL >= (level)) logLine(__VA_ARGS__); \
    } while (0)

// Prints "[vmNetCtrl] ", the message and a line end, and flushes. Used through the macro.
void logLine(const char* format, ...) __attribute__((format(printf, 1, 2)));
