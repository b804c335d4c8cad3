// Network-status events: what the platform library reports about this device.
#pragma once

#include <cstdint>

// Applies an event (NET_STATUS_... of platform/lifecycle.h, info its record) to the database.
// result receives 0, or kFailure when info is missing.
extern "C" void netStatusEventCallback(uint32_t eventId, const void* info, uint32_t* result);
