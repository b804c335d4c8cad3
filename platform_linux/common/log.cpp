#include "common/log.h"

#include <cstdarg>
#include <cstdio>

#include "base/text.h"

void logLine(const char* format, ...) {
    char text[2048];
    va_list args;
    va_start(args, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start is in the line above
    vsnprintf(text, sizeof text, format, args);
    va_end(args);
    printf("[vmNetCtrl] %s\r\n", plainLine(text).c_str());
    fflush(stdout);
}
