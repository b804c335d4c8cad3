// Shell commands.
#pragma once

// Formats a command like printf, runs it through the shell, with the default action for SIGPIPE,
// and waits for it. Returns the status of system(3), or -1 if the command exceeds 4095 bytes. No
// text from outside may be part of it.
int runShell(const char* format, ...) __attribute__((format(printf, 1, 2)));
