// Records of the platform functions made from pictures.
#pragma once

#include "api.h"
#include "netctrl/picture.h"

// The pointers in it refer to the interface, which must outlive it.
IntfDesc describe(const Intf& intf);

// The addresses as packed bytes, nullptr if there are none.
static_assert(sizeof(MacAddr) == PLATFORM_MAC_LEN);
inline const uint8_t* packed(const std::vector<MacAddr>& macs) {
    return macs.empty() ? nullptr : macs.front().data();
}
