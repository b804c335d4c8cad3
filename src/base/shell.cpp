#include "base/shell.h"

#include <signal.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>

int runShell(const char* format, ...) {
    char command[4096];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(command, sizeof command, format, args);
    va_end(args);
    // A truncated command would do something else.
    if (length < 0 || static_cast<size_t>(length) >= sizeof command) return -1;
    // Commands inherit an ignored signal, but expect a broken pipe to end them.
    struct sigaction before {};
    struct sigaction standard {};
    standard.sa_handler = SIG_DFL;
    sigaction(SIGPIPE, &standard, &before);
    const int status = system(command);
    sigaction(SIGPIPE, &before, nullptr);
    return status;
}
