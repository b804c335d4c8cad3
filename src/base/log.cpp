#include "base/log.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <string>

#include "base/clock.h"
#include "base/result.h"
#include "base/text.h"
#include "platform/lifecycle.h"

uint8_t DEBUGLEVEL = 3;

namespace {

constexpr size_t kMostOutput = 2047;

std::string formatted(const char* format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    return plainLine(text);
}

}  // namespace

void logLine(int level, const char* function, int line, const char* format, ...) {
    const int error = errno;  // stays what it was for the caller
    va_list args;
    va_start(args, format);
    const std::string text = formatted(format, args);
    va_end(args);
    printf("[vm1905] [TM=%ld/LVL=%d] - %s(%d): %s", static_cast<long>(wallClock()), level, function,
           line, text.c_str());
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
    va_list args;
    va_start(args, format);
    std::string line = formatted(format, args);
    va_end(args);
    line.resize(std::min(line.size(), kMostOutput));
    (void)outputlogData(line.c_str());
}
