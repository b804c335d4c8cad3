// A limit to the messages of others that make this device answer, ask, or run programs.
#pragma once

#include <map>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "base/once_a_second.h"

// What a message costs.
enum class Work : unsigned { kMessage = 1, kNewcomer = 4, kOrder = 8 };

// The work of one second.
struct WorkLimit {
    Seconds second = 0;
    unsigned total = 0;
    std::map<MacAddr, unsigned> bySource{};
    OnceASecond reported{};
};

// Whether this device does the work for a message from this source, which is then counted. A source
// has 512 units a second. After 2048 units of all sources only those of known devices are served,
// so that strangers cannot keep this device from answering the mesh. A refusal is logged once a
// second for each source.
[[nodiscard]] bool mayWork(const MacAddr& srcMac, Work work);
