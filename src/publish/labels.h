// The words by which the data model calls what the tables hold as numbers.
#pragma once

#include <cstdint>
#include <string_view>

const char* alStatusLabel(uint32_t status);
const char* firmwareStateLabel(uint32_t state);
const char* roleLabel(uint8_t role);
const char* configureLabel(uint32_t configure);
const char* pwrStateLabel(uint32_t state);
const char* topolStatusLabel(uint32_t status);
const char* setupMethodLabel(uint32_t mode);
const char* changeEventLabel(uint32_t event);
const char* changeNbrTypeLabel(uint32_t type);

// Media labels tell the high 5 GHz band apart: by the name of a device's own interface, by the
// connection type of a neighbour that is a Wi-Fi station (empty for any other neighbour).
const char* intfMediaLabel(uint32_t mediaType, std::string_view intfName);
const char* non1905NbrMediaLabel(uint32_t mediaType, std::string_view connType);
const char* ieee1905NbrMediaLabel(uint32_t mediaType, std::string_view connType);
