// The watch command, which repeats another.
#pragma once

#include "cli.h"

// Repeats the command until SIGINT or SIGTERM, or until nobody reads the output. On a terminal it
// redraws each time, elsewhere it prints only when something has changed. If the daemon ends after
// the first time, it waits for the next one. Returns the exit status; throws Failure.
[[nodiscard]] int watch(const Choice& outer);
