// The control files in /tmp with which an operator controls a running daemon.
#pragma once

#include <ctime>

struct ControlFiles {
    int g_restart_flag = 0;
    // The time stamp of /tmp when it last held no control file, zero if unknown. While it stays the
    // same there is nothing to look for, which would cost more than the rest of an idle pass.
    timespec emptySince{};
};

// Looks for the files and acts on those that exist. Called by the main loop once a second. kOk, or
// the result of the first action that fails.
int checkScriptCmd();

// True once a restart was requested.
bool restartRequested();
