// The ring of at most 256 neighbours that came or went.
#pragma once

#include "db/records.h"

// Writes an entry, over the oldest one when the log is full, and asks for a data-model rewrite,
// with notify for a topology notification too. kOk.
int updateChangeLogTable(uint32_t eventType, const MacAddr& reporterAlMac,
                         const MacAddr& reporterIntfMac, uint32_t nbrType, const MacAddr& nbrMac,
                         bool notify = true);

// The number of entries that are kept; more than the 256 there is room for has no effect beyond
// that. kOk, or kFailure without a database.
int setChangeLogMaxEntries(uint16_t maximum);
