// Programs that the library runs to their end.
#pragma once

#include <string>
#include <string_view>

// Runs a program of the table without arguments as startJob does (common/job.h) and waits for its
// end. quiet: its standard error is discarded. Blocks, so it is for short programs, and for use
// before and after the daemon's loop. Returns the exit status; 16 if the program cannot be started,
// is ended by a signal or exceeds its limit, which kills its whole process group.
[[nodiscard]] int runCommand(std::string_view program, bool quiet);

// The full path of a program in PATH or a system directory, empty if it is not installed.
std::string findProgram(std::string_view name);
