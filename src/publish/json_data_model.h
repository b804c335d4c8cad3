// The data model as a JSON file for the management front end.
#pragma once

#include <string>

#include "db/records.h"

// Rewrites "vm1905.json" in the data-model folder, then "vm1905_APautoconfig.json". kOk always; a
// file that cannot be opened is left as it is.
int writeJsonDataModel();

// The text of "vm1905.json". A missing table leaves out what it would tell: without topology there
// is no "NetworkTopology" object; without security no "Security" object and no closing brace;
// without al just the three opening lines. The front end copes with the last two.
std::string renderJsonDataModel(const AlTable* al, const TopolTable* topol,
                                const SecurityTable* security);
