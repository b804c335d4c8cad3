// From pictures to the records of the platform functions.
#pragma once

#include "api.h"
#include "netctrl/picture.h"

// A description whose pointers lead into the interface.
IntfDesc describe(const Intf& intf);

// The addresses as packed bytes, nullptr if there are none.
static_assert(sizeof(MacAddr) == PLATFORM_MAC_LEN);
inline const uint8_t* packed(const std::vector<MacAddr>& macs) {
    return macs.empty() ? nullptr : macs.front().data();
}
