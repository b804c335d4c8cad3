// Programs whose end the library waits for.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

struct CommandOptions {
    std::chrono::milliseconds limit{2000};
    std::string* output = nullptr;  // takes the first maxOutput bytes of standard output
    size_t maxOutput = 8192;
    bool quiet = false;  // standard error goes nowhere instead of to ours
};

// Runs a program as startJob does (common/job.h) and waits for its end: for use before the daemon's
// loop and after it. Returns its exit status, or 16 when it cannot be started, is ended by a
// signal, or is not done after the limit; then its whole process group is killed. What it started
// in the background may outlive it.
[[nodiscard]] int runCommand(const std::vector<std::string>& argv, const CommandOptions& options);

// The full path of a program in PATH or a system directory, empty when it is not installed.
std::string findProgram(std::string_view name);
