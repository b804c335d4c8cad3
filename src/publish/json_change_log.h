// The change log of the topology as a JSON file.
#pragma once

#include <string>

#include "db/records.h"

// Rewrites "vm1905_log.json" in the data-model folder. kOk always; a file that cannot be opened is
// left as it is.
int writeJsonvm1905log();

// Its text, an empty object without topol.
std::string renderJsonvm1905log(const TopolTable* topol);
