// The keys of "vm1905.conf" and "vm1905_Version", and how the files are read. vm1905ctl checks
// "vm1905.conf" with it, so it neither logs nor uses the state of the daemon.
#pragma once

#include <cstdio>
#include <span>

#include "base/conf_check.h"

struct SysCtrl;

// A key of a configuration file.
struct ConfKey {
    const char* name;
    const char* fallback;  // the value if the file has none
    ConfType type;
    void (*store)(SysCtrl& ctrl, const char* value);
};

// The keys of "vm1905.conf".
std::span<const ConfKey> configKeys();

// Reads "vm1905.conf" into the options of ctrl. A value that its key does not accept is named and
// nevertheless stored, as a number or text as far as it is one; where that is not possible, the
// default is.
void readConfigFile(FILE* file, SysCtrl& ctrl, const ConfComplaint& complain);
// Reads "vm1905_Version" into the versions in ctrl.
void readVersionFile(FILE* file, SysCtrl& ctrl);
// Only names what is wrong in "vm1905.conf".
void checkConfigFile(FILE* file, const ConfComplaint& complain);
