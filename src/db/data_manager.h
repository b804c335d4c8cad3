// The topology database: its filling from the platform, its end, and its switches.
#pragma once

#include <cstdint>

// Creates the database and fills it from the platform. kOk, or the code of the first step that
// failed (the database then does not exist).
[[nodiscard]] int initDataManager();
// Frees it. kOk.
int destroyDataManager();

// Stores the first of len bytes at value: key 0 enable reboot from a neighbour, key 1 enable
// interface power control from a neighbour. kOk, or kFailure for another key or no database.
int setAlTableConfValue(int key, int len, const void* value);
int enableNetTopol();                    // kOk
int disableNetTopol();                   // kOk
int setNetTopolStatus(uint32_t status);  // kOk
