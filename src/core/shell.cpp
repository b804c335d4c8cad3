#include "core/shell.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

int runShell(const char* format, ...) {
    char command[4096];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(command, sizeof command, format, args);
    va_end(args);
    // A command that was cut is another command.
    if (length < 0 || static_cast<size_t>(length) >= sizeof command) return -1;
    return system(command);
}
