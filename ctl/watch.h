// The command that repeats another.
#pragma once

#include "cli.h"

// Until SIGINT or SIGTERM: on a terminal redraws at every look, elsewhere prints anew what has
// changed. A daemon that goes away after the first look is waited for. The exit status; throws
// Failure.
int watch(const Choice& outer);
