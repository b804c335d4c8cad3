// What all targets need of their process: a quiet standard output, a folder for files, and no way
// to the machine of the fuzzer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/bytes.h"

// The path of a folder in memory, removed at the end of the process.
const std::string& scratch();

// Writes a file into the folder and returns its path.
std::string writeScratch(const std::string& name, Bytes content);

// Ends the input as a finding.
void require(bool condition);

inline std::string_view textOf(Bytes bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// True if the text in the field of a record ends within it.
template <size_t N>
bool isTerminated(const char (&field)[N]) {
    return std::string_view(field, N).find('\0') != std::string_view::npos;
}
