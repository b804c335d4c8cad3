// The state of the own firmware upgrade.
#pragma once

#include <cstdint>

// Asks the platform for the state (both values are handed on to it) and stores it; a change
// rewrites the data model. kOk.
int updateFWUpgradeStatus(int32_t value1, int32_t value2);
