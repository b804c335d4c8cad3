// How a command fails, and the exit status. Scripts rely on the numbers.
#pragma once

#include <string>

enum Exit : int { kDone = 0, kRefused = 1, kUsage = 2, kNoDaemon = 3, kTimedOut = 4 };

// Ends a command: thrown anywhere, printed by main. Both texts may contain what other devices sent;
// they are escaped when they are printed.
struct Failure {
    Exit status;
    std::string text;      // what went wrong
    std::string advice{};  // what to do next; may be empty
    int result = 0;        // of the client library; 0 if it is not the cause
};

// What was asked for: a value, an action of this device, or an order that another device answers.
enum class Asked { kRead, kHere, kNeighbor };

// Throws Failure for a result of the client library. what names the request, such as "reboot of
// dev2"; it may be empty.
[[noreturn]] void throwFailure(int result, const std::string& what, Asked asked = Asked::kRead);
// The same, unless the result is 0.
inline void check(int result, const std::string& what, Asked asked = Asked::kRead) {
    if (result != 0) throwFailure(result, what, asked);
}
