// What the platform tells about this device itself: firmware, LED, Wi-Fi configuration.
#pragma once

#include <cstdint>
#include <string_view>

// The platform announced (1) or withdrew a new firmware; writes the data model. kOk.
int updateFWNewfirmware(uint32_t result);
// The status of the own firmware upgrade; writes the data model when it changed. kOk.
int updateNewFWUpgradeStatus(uint32_t status);
// The LED status text; writes the data model when it changed. kOk.
int updateLEDStatus(std::string_view text);
// Mirrors the platform's Wi-Fi configuration into the tables; writes the data model when
// something differed. kOk, or kFailure without a database.
int updateWPSConfig();
