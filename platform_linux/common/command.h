// Programs that the library runs to their end.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

struct CommandOptions {
    std::chrono::milliseconds limit{2000};
    std::string* output = nullptr;  // takes the first maxOutput bytes of standard output
    size_t maxOutput = 8192;
    bool quiet = false;  // discard standard error
};

// Runs a program as startJob does (common/job.h) and waits for its end. Blocks, so it is for use
// before and after the daemon's loop only. Returns the exit status; 16 if the program cannot be
// started, is ended by a signal or exceeds the limit, which kills its whole process group. What it
// started in the background may outlive it.
[[nodiscard]] int runCommand(const std::vector<std::string>& argv, const CommandOptions& options);

// The full path of a program in PATH or a system directory, empty if it is not installed.
std::string findProgram(std::string_view name);
