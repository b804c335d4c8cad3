// Checks what people type after a command. Each function throws Failure{kUsage}, which says what is
// allowed; what is the name of the argument in that message.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <utility>
#include <vector>

#include "mac.h"

// Words that stand for numbers, in the order in which messages list them.
using Words = std::vector<std::pair<std::string, int>>;

// A decimal number, or a hexadecimal one after 0x.
int64_t numberArgument(const std::string& text, int64_t min, int64_t max, const std::string& what,
                       const std::string& advice = "");
// One of the words, in any case.
int wordArgument(const std::string& text, const Words& words, const std::string& what);
// The same, or a number.
int wordOrNumber(const std::string& text, const Words& words, int64_t min, int64_t max,
                 const std::string& what);
// The text itself, if it has no more than max bytes.
const std::string& textArgument(const std::string& text, size_t max, const std::string& what);
Mac macArgument(const std::string& text, const std::string& what);
// Up to max bytes, from hexadecimal digits.
std::string hexArgument(const std::string& text, size_t max, const std::string& what);

// The same checks for an option of the command line, which then holds the number.
CLI::Option* takeNumber(CLI::Option* option, int64_t min, int64_t max);
CLI::Option* takeSeconds(CLI::Option* option, double min, double max);
CLI::Option* takeWord(CLI::Option* option, const Words& words);

// The first word for the number, else its digits.
std::string wordFor(const Words& words, int number);
