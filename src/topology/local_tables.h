// Filling of the local tables from the platform's descriptions. The updaters that this module
// implements stand in data_manager.h.
#pragma once

#include "topology/records.h"

// kOk, or the platform's failure code.
int retrieveIntfTable(AlTable& al);
int retrieveBrdgTupleTable(AlTable& al);
