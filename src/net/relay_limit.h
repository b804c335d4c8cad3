// A limit to the multicasts that are relayed each second. In a ring, messages circulate if more
// arrive than can be remembered; they end at the first device that has reached its limit.
#pragma once

#include <cstdint>
#include <map>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "net/ports.h"

// The relays of one second. Every counter stands for at least one of them.
struct RelayLimit {
    Seconds second = 0;
    unsigned total = 0;
    std::map<MacAddr, unsigned> byDevice{};  // devices of the device table, by AL MAC
    std::map<uint8_t, unsigned> byPort{};    // all others, by index of the receiving port
    bool isReported = false;                 // that the limit was reached
};

// True if another message of this device, received by this port, may be relayed now; it is then
// counted. At most 256 may in a second. Half of them are kept for the devices of the device table,
// each of which has at most 64. All others share the other half, divided by receiving port, so that
// no stranger can silence the known devices.
[[nodiscard]] bool mayRelay(const MacAddr& alMac, const Port& incoming);
