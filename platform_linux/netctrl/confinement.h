// The library's part of a confined daemon (platform/confinement.h).
#pragma once

#include "common/programs.h"

// The work of the program "adopt images": gives the files of root in FIRMWARE_FOLDER to the
// daemon's user, which must be able to read them.
int runAdopt(const Arguments& args);
// The work of the program "restart".
int runRestart(const Arguments& args);
