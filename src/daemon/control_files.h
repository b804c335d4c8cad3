// The control files in /tmp with which an operator controls a running daemon.
#pragma once

#include <unistd.h>

#include <ctime>
#include <optional>
#include <set>
#include <string>
#include <utility>

struct ControlFiles {
    std::string folder = "/tmp";
    uid_t user = geteuid();  // whose files the daemon obeys, beside those of root
    int g_restart_flag = 0;
    bool hasLooked = false;  // a file that is found later was made while the daemon runs
    // The names of the files that are there, but are not obeyed.
    std::set<std::string> ignored{};
    // When a vm1905_restart from before the start was last touched.
    std::optional<std::pair<time_t, long>> leftOver{};
    // The time stamp of the folder when it last held no control file, zero if unknown. While it
    // stays the same there is nothing to look for, which would cost more than the rest of an idle
    // pass.
    timespec emptySince{};
};

// Looks for the files and acts on those that exist and that CONTROL_FILES_FROM allows. Called by
// the main loop once a second. kOk, or the result of the first action that fails.
int checkScriptCmd();

// True once a restart was requested.
bool restartRequested();
