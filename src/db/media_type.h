// The names of the IEEE 1905.1 media-type codes.
#pragma once

#include <cstdint>

// The label shown for a media-type code, "Unknown" for a code without one.
const char* mediaTypeLabel(uint32_t mediaType);
