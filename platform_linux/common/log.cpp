#include "common/log.h"

#include <cstdarg>
#include <cstdio>

void logLine(const char* format, ...) {
    fputs("[vmNetCtrl] ", stdout);
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is in the line above
    vprintf(format, args);
    va_end(args);
    fputs("\r\n", stdout);
    fflush(stdout);
}
