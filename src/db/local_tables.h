// The local tables: filling them from the platform's descriptions, room for neighbours. The
// updaters that this module implements stand in data_manager.h.
#pragma once

#include "db/records.h"

// kOk, or the platform's failure code.
int retrieveIntfTable(AlTable& al);
int retrieveBrdgTupleTable(AlTable& al);

// Makes room for one more neighbour. When the table is full the oldest neighbour that is no 1905
// device gives way: those never age, and frames with made-up addresses bring them. False when
// there is none.
bool makeNbrRoom(IntfTable& intf, const MacAddr& newcomer);
