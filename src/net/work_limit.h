// A limit to the messages of others that make this device answer, ask, or run programs.
//
// The first frame of the answer to an own query is free, since the queries are limited: nobody can
// silence a device by using its address. Messages that prove to come from the mesh are free, too
// (net/message_integrity.h).
#pragma once

#include <map>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "base/once_a_second.h"

// What a message costs.
enum class Work : unsigned { kMessage = 1, kNewcomer = 4, kOrder = 8 };

struct WorkLimit {
    Seconds second = 0;
    // The work of this second: of each source, and of all strangers.
    std::map<MacAddr, unsigned> bySource{};
    unsigned ofStrangers = 0;
    // The sources that have answered a query, and the AL MACs that they have given.
    std::map<MacAddr, MacAddr> answered{};
    OnceASecond reported{};
};

// Whether this device does the work for count messages from this source, which are then counted. A
// source has 512 units a second, and all strangers together have 2048. A stranger is who has not
// answered a query, or is no neighbor any more. A refusal is logged once a second for each source.
[[nodiscard]] bool mayWork(const MacAddr& srcMac, Work work, unsigned count = 1);

// Notes that the neighbor with this AL MAC has answered a query from this address.
void noteAnswer(const MacAddr& srcMac, const MacAddr& alMac);
