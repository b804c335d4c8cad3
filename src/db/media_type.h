// The names of the IEEE 1905.1 media-type codes.
#pragma once

#include <cstdint>

// The label of a media-type code, "Unknown" for an unknown code.
const char* mediaTypeLabel(uint32_t mediaType);
