// Captures the log of the daemon, at the given debug level, while this object lives.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "base/log.h"

class LogCapture {
  public:
    explicit LogCapture(uint8_t level = 5) : oldLevel_(DEBUGLEVEL) {
        DEBUGLEVEL = level;
        testing::internal::CaptureStdout();
    }
    ~LogCapture() {
        if (capturing_) (void)take();
        DEBUGLEVEL = oldLevel_;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    // Everything logged since the start or the last call.
    std::string text() {
        std::string logged = take();
        testing::internal::CaptureStdout();
        return logged;
    }
    // Ends the capture.
    std::string finish() {
        capturing_ = false;
        return take();
    }

  private:
    // Messages of failed expectations are captured too; prints them.
    static std::string take() {
        std::string logged = testing::internal::GetCapturedStdout();
        if (testing::Test::HasFailure()) fputs(logged.c_str(), stderr);
        return logged;
    }

    uint8_t oldLevel_;
    bool capturing_ = true;
};

// The number of occurrences of part in text.
inline size_t occurrences(const std::string& text, const std::string& part) {
    size_t n = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) n++;
    return n;
}
