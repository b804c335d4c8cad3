// Printing on standard output, and of failures.
#pragma once

#include <string>

#include "failure.h"
#include "report.h"

// Prints the text. False if standard output cannot be written, which is reported on standard error
// unless the reader has gone.
[[nodiscard]] bool put(const std::string& text);

// Prints a failure on standard error.
void printFailure(const Failure& failure);
// A failure as a report, for --json and --keyvalue.
Report reportOf(const Failure& failure);
