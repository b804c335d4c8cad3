// State of this device that the platform reports: firmware, LED and Wi-Fi configuration. An update
// that writes the data model also requests a topology notification.
#pragma once

#include <cstdint>
#include <string_view>

// Stores that the platform announced (1) or withdrew (any other value) a new firmware, and writes
// the data model. kOk.
int updateFWNewfirmware(uint32_t result);
// Stores the low 8 bits of the status of the firmware upgrade; a change writes the data model. kOk.
int updateNewFWUpgradeStatus(uint32_t status);
// Stores the LED status, cleaned by plainText and cut to 31 bytes; a change writes the data model.
// kOk.
int updateLEDStatus(std::string_view text);
// Copies the Wi-Fi configuration of the platform into the tables; a change of this device's own
// configuration writes the data model. kOk, or kFailure without a database.
int updateWPSConfig();
