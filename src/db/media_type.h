// The names of the IEEE 1905.1 media-type codes.
#pragma once

#include <cstdint>
#include <string_view>

// The label of a media-type code, "Unknown" for an unknown code.
std::string_view mediaTypeLabel(uint32_t mediaType);
