// The change log of the topology as a JSON file.
#pragma once

#include <string>

#include "db/records.h"

// Rewrites "vm1905_log.json" in the data-model folder, as soon as writeDataModelFile permits.
// Always kOk; a file that cannot be replaced is left as it is.
int writeJsonvm1905log();

// Rewrites only the copy for a web server, which must be current: the file itself is written on
// request. Without WEB_FOLDER, does nothing.
void writeWebChangeLog();

// The text of that file, an empty object if topol is nullptr.
std::string renderJsonvm1905log(const TopolTable* topol);
