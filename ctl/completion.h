// What the shell offers for the last word of a command line.
#pragma once

#include <string>
#include <vector>

// Prints the possible values of the last word, which may be empty, one per line.
void printCompletions(const std::vector<std::string>& words);
