// The watch command, which repeats another, and the option --follow.
#pragma once

#include "cli.h"

// Repeats the command until SIGINT or SIGTERM, or until nobody reads the output. On a terminal it
// redraws each time, elsewhere it prints only when something has changed. A command that can be
// followed is: what it reports is printed once. If the daemon ends after the first time, it waits
// for the next one. Returns the exit status; throws Failure.
[[nodiscard]] int watch(const Choice& outer);
