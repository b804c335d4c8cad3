// The platform library's debug lines. They go to standard output among the daemon's and obey the
// same running level.
#pragma once

#include "api.h"
#include "platform/exports.h"

#define PLAT_LOG(level, ...)                                   \
    do {                                                       \
        if (DEBUGLEVEL >= (level)) plat::logLine(__VA_ARGS__); \
    } while (0)

namespace plat {
// Prints "[vmNetCtrl] ", the message and a line end, and flushes. Used through the macro.
PLAT_API void logLine(const char* format, ...) __attribute__((format(printf, 1, 2)));
}  // namespace plat
