// The library's part of a confined daemon (platform/confinement.h).
#pragma once

#include "common/programs.h"

// The work of the program "restart".
int runRestart(const Arguments& args);
