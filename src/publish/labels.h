// The labels in the data model for numbers in the tables. An unknown number is "Unknown", unless
// described otherwise.
#pragma once

#include <cstdint>
#include <string_view>

const char* alStatusLabel(uint32_t status);      // AlTable::operStatus
const char* firmwareStateLabel(uint32_t state);  // VendItems::firmwareState
const char* roleLabel(uint8_t role);             // PLATFORM_REGISTRAR; else an Enrollee
const char* configureLabel(uint32_t configure);  // DeviceInfo::configure
const char* pwrStateLabel(uint32_t state);       // IntfTable::pwrState
const char* topolStatusLabel(uint32_t status);   // TopolTable::status
const char* setupMethodLabel(uint32_t mode);     // SecurityTable::mode
const char* changeEventLabel(uint32_t event);    // ChangeEvent; "" for an unknown one
const char* changeNbrTypeLabel(uint32_t type);   // ChangeNbrType

// Labels of media types. For the high 5 GHz band they differ; the name of a device's own interface
// or the connection type of a Wi-Fi station (empty for other neighbors) indicates that band.
const char* intfMediaLabel(uint32_t mediaType, std::string_view intfName);
const char* non1905NbrMediaLabel(uint32_t mediaType, std::string_view connType);
const char* ieee1905NbrMediaLabel(uint32_t mediaType, std::string_view connType);
