// The labels in the data model for numbers in the tables. An unknown number is "Unknown", unless
// described otherwise.
#pragma once

#include <cstdint>
#include <string_view>

std::string_view alStatusLabel(uint32_t status);      // AlTable::operStatus
std::string_view firmwareStateLabel(uint32_t state);  // VendItems::firmwareState
const char* roleLabel(uint8_t role);                  // PLATFORM_REGISTRAR; else an Enrollee
std::string_view configureLabel(uint32_t configure);  // DeviceInfo::configure
std::string_view pwrStateLabel(uint32_t state);       // IntfTable::pwrState
std::string_view topolStatusLabel(uint32_t status);   // TopolTable::status
std::string_view setupMethodLabel(uint32_t mode);     // SecurityTable::mode
std::string_view changeEventLabel(uint32_t event);    // ChangeEvent; "" for an unknown one
std::string_view changeNbrTypeLabel(uint32_t type);   // ChangeNbrType

// Labels of media types. For the high 5 GHz band they differ; the name of a device's own interface
// or the connection type of a Wi-Fi station (empty for other neighbors) indicates that band.
std::string_view intfMediaLabel(uint32_t mediaType, std::string_view intfName);
std::string_view non1905NbrMediaLabel(uint32_t mediaType, std::string_view connType);
std::string_view ieee1905NbrMediaLabel(uint32_t mediaType, std::string_view connType);
