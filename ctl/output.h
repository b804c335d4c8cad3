// What the tool prints, and its failures.
#pragma once

#include <string>

#include "failure.h"
#include "report.h"

// False when standard output cannot be written, which is told unless its reader has gone.
bool put(const std::string& text);

// The words of a failure on standard error.
void tell(const Failure& failure);
// The same for programs.
Report reportOf(const Failure& failure);
