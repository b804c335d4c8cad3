#include "base/log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <span>
#include <string>

#include "base/clock.h"
#include "base/result.h"
#include "base/text.h"
#include "platform/lifecycle.h"

uint8_t DEBUGLEVEL = 3;

namespace {

bool timeIsIso = false;

constexpr size_t kMostOutput = 2047;

// Of a message; more than that is cut.
using Buffer = std::array<char, 4096>;

// Needs no memory: it may report the lack of it.
std::string_view formatted(Buffer& text, const char* format, va_list args) {
    const int length = vsnprintf(text.data(), text.size(), format, args);
    const auto size = static_cast<size_t>(std::max(length, 0));
    return cleanLine(std::span(text).first(std::min(size, text.size() - 1)));
}

// Needs no memory, as above.
void printTime() {
    const std::time_t time = wallClock();
    std::tm local{};
    char text[40];
    if (timeIsIso && localtime_r(&time, &local) != nullptr &&
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S%z", &local) > 0) {
        fputs(text, stdout);
    } else {
        printf("%ld", static_cast<long>(time));
    }
}

}  // namespace

void logLine(int level, const char* function, int line, const char* format, ...) {
    const int error = errno;  // stays what it was for the caller
    Buffer text;
    va_list args;
    va_start(args, format);
    const std::string_view message = formatted(text, format, args);
    va_end(args);
    fputs("[vm1905] [TM=", stdout);
    printTime();
    printf("/LVL=%d] - %s(%d): ", level, function, line);
    fwrite(message.data(), 1, message.size(), stdout);
    fflush(stdout);
    errno = error;
}

int setDebugLevel(uint8_t level) {
    LOG(4, "set debug level to %d\r\n", DEBUGLEVEL);
    DEBUGLEVEL = level;
    (void)setNetCtrlDebugLevel(level);
    return kOk;
}

void setLogTimeIso(bool isIso) {
    timeIsIso = isIso;
}

uint8_t getDebugLevel() {
    return DEBUGLEVEL;
}

void Outputlog(const char* format, ...) {
    Buffer text;
    va_list args;
    va_start(args, format);
    const std::string_view message = formatted(text, format, args);
    va_end(args);
    (void)outputlogData(std::string(message.substr(0, kMostOutput)).c_str());
}
