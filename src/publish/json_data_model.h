// The data model as a JSON file for the management front end.
#pragma once

#include <string>

#include "db/records.h"

// Rewrites "vm1905.json" in the data-model folder, then "vm1905_APautoconfig.json", as soon as
// writeDataModelFile permits. Always kOk; a file that cannot be replaced is left as it is.
int writeJsonDataModel();

// The text of "vm1905.json". Arguments may be nullptr: without topol there is no "NetworkTopology"
// object, without security no "Security" object and no closing brace, without al only the three
// opening lines. The front end accepts the last two, although they are not valid JSON.
std::string renderJsonDataModel(const AlTable* al, const TopolTable* topol,
                                const SecurityTable* security);
