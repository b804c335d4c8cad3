// The clients that wait for the answer of another device: which client asked for which service, and
// the identifier of the message that was sent for it.
#pragma once

#include <array>
#include <cstdint>

#include "base/clock.h"

struct ServReqEntry {
    static constexpr uint16_t kFree = 0xFFFF;

    int32_t pid = 0;
    uint8_t servId = 0;
    uint16_t msgId = kFree;
    Seconds time = 0;
};

struct PendingRequests {
    std::array<ServReqEntry, 128> serv_req;
};

inline constexpr int32_t kNoClient = -1;

// Forgets all clients.
void initPendingRequests();

// Remembers that the process pid waits for the answer to the message msgId, which was sent for its
// request servId. If the table is full, the entry replaces one of at least 6 seconds, or else the
// oldest. kOk.
int registerServReq(int32_t pid, uint32_t servId, uint16_t msgId);

// Finds the client that waits for the answer servId (its request + 1) to the message msgId, and
// forgets it. Returns its pid, kNoClient if there is none.
int32_t searchServReqRespPid(uint32_t servId, uint16_t msgId);
