// A client handle, and how a request and its answer pass through the slots.
#pragma once

#include <cstdint>
#include <span>

#include "segment.h"
#include "wait.h"

struct vm1905_client {
    // The state of the handle's request. An answer that arrives at kTurn belongs to an earlier
    // request. At kPosted it may be a late answer to an earlier request or the answer to this one.
    enum class Stage { kNone, kTurn, kPosted, kTaken, kAnswered };

    vm1905_client();
    vm1905_client(const vm1905_client&) = delete;
    vm1905_client& operator=(const vm1905_client&) = delete;
    ~vm1905_client();

    // Attached only from a request to its answer, so that the number of attached processes shows
    // whether the daemon runs.
    Segment request{slots::kReqKey, slots::kReqSize};
    Segment response{slots::kRespKey, slots::kRespSize};
    unsigned localMs = 3000;
    unsigned neighborMs = 8000;
    Progress progress;

    // Guarded by the lock that all handles of the process share.
    vm1905_client* next = nullptr;
    Stage stage = Stage::kNone;
    uint16_t service = 0;
    bool isAnswered = true;  // false for a request that never gets an answer
    vm1905_answer answer{};
};

using Payload = std::span<const uint8_t>;

// vm1905_post and vm1905_wait, within the time of one Wait.
[[nodiscard]] int postRequest(vm1905_client& client, uint16_t service, Payload payload, Wait& wait);
[[nodiscard]] int awaitAnswer(vm1905_client& client, Wait& wait, vm1905_answer& answer);
// Forgets the request and detaches from the segments.
void giveUp(vm1905_client& client);

// Attaches to both segments. 0, VM1905_NO_DAEMON, VM1905_FOREIGN or VM1905_SYSTEM.
[[nodiscard]] int attach(vm1905_client& client);
