// Properties of single services.
#pragma once

#include <cstdint>
#include <span>

// Whether the daemon itself answers and nothing changes, so that the request may be repeated.
bool isRead(uint16_t service);
// False for a request that is carried out but never answered.
bool isAnswered(uint16_t service, std::span<const uint8_t> payload);
