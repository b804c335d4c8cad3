// The clients that wait for the answer of another device: which of them asked for what, and under
// which message identifier it was sent on.
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

// Forgets all of them.
void initPendingRequests();

// Remembers that the client pid waits for the answer to the message msgId, sent for its request
// servId. Requests of 6 seconds and more give way; when there are none, the oldest does. kOk.
int registerServReq(int32_t pid, uint32_t servId, uint16_t msgId);

// The client that waits for the answer servId (its request + 1) to the message msgId, who is then
// forgotten. kNoClient when nobody does.
int32_t searchServReqRespPid(uint32_t servId, uint16_t msgId);
