// From pictures to the records of the platform functions.
#pragma once

#include "api.h"
#include "netctrl/picture.h"

namespace plat {

// A description whose pointers lead into the interface.
IntfDesc describe(const Intf& intf);

// The name as records carry it: 16 bytes, NUL-padded.
void copyName(char (&field)[PLATFORM_INTF_NAME_LEN], const Intf& intf);

// The packed neighbour addresses of MacAddr lists.
static_assert(sizeof(MacAddr) == PLATFORM_MAC_LEN);
inline const uint8_t* packed(const std::vector<MacAddr>& macs) {
    return macs.empty() ? nullptr : macs.front().data();
}

}  // namespace plat
