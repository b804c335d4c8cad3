// What the Registrar last gave to its Enrollees, kept over a restart of the daemon: a digest of the
// networks of each band.
#pragma once

#include <cstdint>
#include <set>

// The bands whose networks in wifi.conf are not those that storeGiven() has stored; empty if it has
// stored nothing.
std::set<uint8_t> changedSinceStored();

// Stores the networks that wifi.conf has now. A failure is logged.
void storeGiven();
