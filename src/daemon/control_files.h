// The control files under /tmp with which an operator steers a running daemon.
#pragma once

// Looks for the files and acts on those that exist. kOk, or kFailure when the debug file cannot be
// opened. Called by the main loop once a second.
int checkScriptCmd();

// True once a restart was asked for.
bool restartRequested();
