// Fragmented messages of which not all has arrived.
#pragma once

#include <cstdint>
#include <list>
#include <vector>

#include "base/bytes.h"
#include "base/clock.h"
#include "net/ports.h"
#include "wire/frame.h"

struct FragCmdu {
    MacAddr srcMac;
    MacAddr portMac;
    uint32_t mediaType = 0;
    uint8_t version = 0;
    uint16_t msgType = 0;
    uint16_t msgId = 0;
    std::vector<std::vector<uint8_t>> fragments;  // TLV areas in order of arrival
    Seconds time = 0;                             // arrival of the latest fragment
};

struct FragmentStore {
    std::list<FragCmdu> frag_cmdus;  // in order of first arrival
};

inline constexpr size_t kMaxFragCmdus = 64;
inline constexpr size_t kMaxFragments = 64;

// The entry of this source, type and id that began on this port, nullptr when there is none. A
// message that comes by two ports is two of them.
[[nodiscard]] FragCmdu* findFragCmdu(const Port& port, const FrameHdr& hdr);

// Adds a fragment's TLV area to its message, which is begun when it is the first. The oldest
// unfinished message gives way to a new one when there are too many. kOk, or kFailure when the
// message has too many fragments.
[[nodiscard]] int storeFragment(const Port& port, const FrameHdr& hdr, Bytes area);

// Forgets a message.
void removeFragCmdu(const FragCmdu* cmdu);

// Forgets messages whose last fragment is 6 or more seconds old.
void checkFragmessageTimeout();

// Forgets all.
void destroyFragCmdus();
