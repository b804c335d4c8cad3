// What people type behind a command. Each function throws Failure{kUsage}, which says what is
// allowed; what names the argument.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "mac.h"

// Words that stand for numbers, in the order in which they are told.
using Words = std::vector<std::pair<std::string, int>>;

// A decimal number, or a hexadecimal one behind 0x.
int64_t numberArgument(const std::string& text, int64_t min, int64_t max, const std::string& what);
int wordArgument(const std::string& text, const Words& words, const std::string& what);
// The text, when it has no more than so many bytes.
const std::string& textArgument(const std::string& text, size_t max, const std::string& what);
Mac macArgument(const std::string& text, const std::string& what);
// Bytes, of which there may be so many, out of hexadecimal digits.
std::string hexArgument(const std::string& text, size_t max, const std::string& what);

// The same as checks of the command line; the option then holds the number.
CLI::Option* takeNumber(CLI::Option* option, int64_t min, int64_t max);
CLI::Option* takeSeconds(CLI::Option* option, double min, double max);
CLI::Option* takeWord(CLI::Option* option, const Words& words);

// The first word that stands for the number.
std::string wordFor(const Words& words, int number);
