// Commands for the shell.
#pragma once

// Runs a printf-like command through the shell and waits for it; the status of system(3), -1 when
// the command is too long. Nothing that comes from outside may stand in it unescaped.
int runShell(const char* format, ...) __attribute__((format(printf, 1, 2)));
