// The control files under /tmp with which an operator steers a running daemon.
#pragma once

#include <ctime>

struct ControlFiles {
    int g_restart_flag = 0;
    // When /tmp had last changed when it was found without a control file; zero if that is unknown.
    // To look for five files costs more than all else that an idle daemon does.
    timespec emptySince{};
};

// Looks for the files and acts on those that exist. kOk, or kFailure when the debug file cannot be
// opened. Called by the main loop once a second.
int checkScriptCmd();

// True once a restart was asked for.
bool restartRequested();
