// One request and its answer, over both slots.
#pragma once

#include <cstdint>
#include <span>

#include "segment.h"
#include "wait.h"

struct vm1905_client {
    // Where its request stands. What comes for the process while a request is at kTurn answers an
    // earlier one; while it is at kPosted nobody can tell: an earlier one may be answered late, or
    // this one already.
    enum class Stage { kNone, kTurn, kPosted, kTaken, kAnswered };

    vm1905_client();
    vm1905_client(const vm1905_client&) = delete;
    vm1905_client& operator=(const vm1905_client&) = delete;
    ~vm1905_client();

    // Attached from a request to its answer: whoever else is attached then is the daemon, or waits.
    Segment request{slots::kReqKey, slots::kReqSize};
    Segment response{slots::kRespKey, slots::kRespSize};
    unsigned localMs = 3000;
    unsigned neighborMs = 8000;
    Progress progress;

    // Under the lock of all handles of the process.
    vm1905_client* next = nullptr;
    Stage stage = Stage::kNone;
    uint16_t service = 0;
    bool isAnswered = true;  // whether such a request ever is
    vm1905_answer answer{};
};

using Payload = std::span<const uint8_t>;

// The steps of vm1905_post and vm1905_wait, within one wait.
int postRequest(vm1905_client& client, uint16_t service, Payload payload, Wait& wait);
int awaitAnswer(vm1905_client& client, Wait& wait, vm1905_answer& answer);
void giveUp(vm1905_client& client);

// Both segments. 0, VM1905_NO_DAEMON, VM1905_SYSTEM.
int attach(vm1905_client& client);
