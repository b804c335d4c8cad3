// The state of this device's own firmware upgrade, PLATFORM_FW_...
#pragma once

#include <cstdint>

#include "api.h"

// Sets the state; a change is reported to the daemon.
void setFirmwareState(uint32_t state);
uint32_t firmwareState();
