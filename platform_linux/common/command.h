// Programs that the platform library runs: without a shell, in a process group of their own, and
// for a bounded time.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "api.h"

namespace plat {

struct CommandOptions {
    std::chrono::milliseconds limit{2000};
    std::string* output = nullptr;  // takes the first maxOutput bytes of standard output
    size_t maxOutput = 8192;
    bool quiet = false;  // standard error goes nowhere instead of to ours
};

// Runs the program at argv[0] (a path) with these arguments, each handed over as it is, and with
// an empty standard input. Returns its exit status, or 16 when it cannot be started, is ended by a
// signal, or is not done after the limit; then its whole process group is killed. What it started
// in the background may outlive it.
PLAT_API int runCommand(const std::vector<std::string>& argv, const CommandOptions& options);

// The full path of a program in PATH or a system directory, empty when it is not installed.
PLAT_API std::string findProgram(std::string_view name);

// Runs the product's hook of this name (docs/platform.md) with at most 2 seconds to do its work.
// Returns its exit status; 16 when there is no such hook or it failed to run.
PLAT_API int runHook(const std::string& name, const std::vector<std::string>& args = {},
                     std::string* output = nullptr);

}  // namespace plat
