// Network-status events: what the platform library reports about this device.
#pragma once

#include <cstdint>

// Applies the event eventId (NET_STATUS_... of platform/lifecycle.h) with its record info to the
// database. If result is not nullptr it receives kOk, or kFailure if info is nullptr.
extern "C" void netStatusEventCallback(uint32_t eventId, const void* info, uint32_t* result);
