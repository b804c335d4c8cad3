// Fragmented messages that have not arrived completely.
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
    uint8_t ifIndex = 0;  // of the port: ports may share a MAC
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

// The unfinished message with the source, type and id of hdr on this port, nullptr if there is
// none. A message that arrives on two ports is stored once for each.
[[nodiscard]] FragCmdu* findFragCmdu(const Port& port, const FrameHdr& hdr);

// Adds the TLV area of a fragment to its message, which the first fragment creates. If there are
// too many messages, the oldest one gives way. kOk, or kFailure if the message has too many
// fragments.
[[nodiscard]] int storeFragment(const Port& port, const FrameHdr& hdr, Bytes area);

// Removes a message that findFragCmdu returned.
void removeFragCmdu(const FragCmdu* cmdu);

// Removes messages whose latest fragment is 6 or more seconds old.
void checkFragmessageTimeout();

// Removes all messages.
void destroyFragCmdus();
