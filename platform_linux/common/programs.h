// The programs that the library runs: those of one table and no others. netctrl/programs.cpp has
// the table.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

using Arguments = std::vector<std::string>;

struct Program {
    std::string_view name;  // a hook's name is that of its file
    // One letter for each argument:
    //   m  MAC address      n  decimal number      x  bytes in hexadecimal
    //   f  plain name, or empty      a  IPv4 address
    //   t  any text                  w  text that does not start with '-'
    //   p  path                      *  any number of arguments of the kind before it
    std::string_view kinds;
    std::chrono::milliseconds limit{2000};  // then its whole process group is killed
    // Runs in a child process and may replace it by another program; its result is the exit status.
    // nullptr: the program is the hook of this name.
    int (*work)(const Arguments& args) = nullptr;
};

// All programs. A program's number is its place in the table.
std::span<const Program> programs();

// The number of the program. None if there is no such program.
std::optional<uint8_t> programNumber(std::string_view name);

// Whether the arguments have the kinds and the number that the table demands. strict: no path is
// accepted.
bool fits(const Program& program, const Arguments& args, bool strict);

// In the child process of a `work`: the file that it was given (Launch::file).
inline constexpr int kWorkFile = 3;
