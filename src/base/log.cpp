#include "base/log.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

#include "base/clock.h"
#include "base/result.h"
#include "platform/lifecycle.h"

uint8_t DEBUGLEVEL = 3;

void logLine(int level, const char* function, int line, const char* format, ...) {
    const int error = errno;  // stays what it was for the caller
    printf("[vm1905] [TM=%ld/LVL=%d] - %s(%d): ", static_cast<long>(wallClock()), level, function,
           line);
    va_list args;
    va_start(args, format);
    vprintf(format, args);
    va_end(args);
    fflush(stdout);
    errno = error;
}

int setDebugLevel(uint8_t level) {
    LOG(4, "set debug level to %d\r\n", DEBUGLEVEL);
    DEBUGLEVEL = level;
    (void)setNetCtrlDebugLevel(level);
    return kOk;
}

uint8_t getDebugLevel() {
    return DEBUGLEVEL;
}

void Outputlog(const char* format, ...) {
    char line[2048];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    (void)outputlogData(line);
}
