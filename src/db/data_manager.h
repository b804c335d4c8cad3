// Fills the topology database from the platform, destroys it, and changes its switches.
#pragma once

#include <cstdint>

// Creates the database and fills it from the platform. kOk, or the result of the first platform
// call that failed; the database then does not exist.
[[nodiscard]] int initDataManager();
// Frees the database. kOk.
int destroyDataManager();

// Sets a permission of the neighbors from the first of len bytes at value: key 0 reboot, key 1
// interface power control. kOk, or kFailure for another key, without a byte or without a database.
int setAlTableConfValue(int key, int len, const void* value);
// Switch the topology on or off and request a data-model rewrite. kOk.
int enableNetTopol();
int disableNetTopol();
// Sets the status of the topology (TopolTable::status); a change requests a data-model rewrite.
// kOk.
int setNetTopolStatus(uint32_t status);
