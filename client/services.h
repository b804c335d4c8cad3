// What the library knows of single services beside their records.
#pragma once

#include <cstdint>
#include <span>

// Answered by the daemon, and without consequences.
bool isRead(uint16_t service);
// False when nobody will answer a request with this payload, although it is carried out.
bool isAnswered(uint16_t service, std::span<const uint8_t> payload);
