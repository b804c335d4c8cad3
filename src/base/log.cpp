#include "base/log.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <span>
#include <string>

#include "base/clock.h"
#include "base/result.h"
#include "base/text.h"
#include "platform/lifecycle.h"

uint8_t DEBUGLEVEL = 3;

namespace {

constexpr size_t kMostOutput = 2047;

// A formatted and cleaned message. Needs no memory: it may report the lack of it.
class Message {
  public:
    Message(const char* format, va_list args) {
        const int length = vsnprintf(text_.data(), text_.size(), format, args);
        const auto size = static_cast<size_t>(std::max(length, 0));
        view_ = cleanLine(std::span(text_).first(std::min(size, text_.size() - 1)));
    }
    std::string_view view() const { return view_; }

  private:
    std::array<char, 4096> text_;
    std::string_view view_;
};

}  // namespace

void logLine(int level, const char* function, int line, const char* format, ...) {
    const int error = errno;  // stays what it was for the caller
    va_list args;
    va_start(args, format);
    const Message message(format, args);
    va_end(args);
    printf("[vm1905] [TM=%ld/LVL=%d] - %s(%d): ", static_cast<long>(wallClock()), level, function,
           line);
    fwrite(message.view().data(), 1, message.view().size(), stdout);
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
    const Message message(format, args);
    va_end(args);
    (void)outputlogData(std::string(message.view().substr(0, kMostOutput)).c_str());
}
