// The change log: a ring of the neighbors that came or went, at most 256 of them.
#pragma once

#include "db/records.h"

// Adds an entry with the present time, over the oldest one if the log is full, and requests a
// data-model rewrite; with notify also a topology notification. eventType is a ChangeEvent, nbrType
// a ChangeNbrType. kOk, also without a database.
int updateChangeLogTable(uint32_t eventType, const MacAddr& reporterAlMac,
                         const MacAddr& reporterIntfMac, uint32_t nbrType, const MacAddr& nbrMac,
                         bool notify = true);

// Sets the number of entries that the log keeps, in effect at most 256. The newest entries survive.
// kOk, or kFailure without a database.
int setChangeLogMaxEntries(uint16_t maximum);
