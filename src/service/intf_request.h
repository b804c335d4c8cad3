// Service 2, an own interface by index. Unlike any other request it is answered only after its
// client has freed the request slot.
#pragma once

#include <cstdint>
#include <optional>

#include "orders/slots.h"

struct IntfRequest {
    std::optional<ServReq> request;  // that waits for its client
    int64_t since = 0;               // uptimeMs() at which it was taken
    bool responseFreed = false;
};

// Takes the request. Returns the result of its first continueIntfRequest.
int respGetIntfServReq(const ServReq& request, uint16_t answer);

// True while a request waits; it occupies the request slot.
bool intfRequestIsPending();

// Looks at the request slot again, if a request waits: answers once the slot has been freed. 15 ms
// after taking the request, frees the response slot. Gives up if the client has ended, or after
// some seconds. Called on every pass of the main loop. kOk, or kFailure if it gives up.
int continueIntfRequest();
