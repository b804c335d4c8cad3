// How the tool ends. The numbers are part of its interface to scripts.
#pragma once

#include <string>

enum Exit : int { kDone = 0, kRefused = 1, kUsage = 2, kNoDaemon = 3, kTimedOut = 4 };

// Ends a command: thrown anywhere, told by main. Both texts are shown with control characters
// escaped.
struct Failure {
    Exit status;
    std::string text;      // what went wrong
    std::string advice{};  // what to do next; empty: nothing
    int result = 0;        // of the client library, 0 when it is not the cause
};

// What was asked: a value; something to be done on this device; an order that another one answers.
enum class Asked { kRead, kHere, kNeighbor };

// Throws the failure that a result of the client library other than 0 stands for. what names what
// was wanted, such as "reboot of dev2"; it may be empty.
void check(int result, const std::string& what, Asked asked = Asked::kRead);
