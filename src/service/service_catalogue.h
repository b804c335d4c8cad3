// Which request of a client is handled by which function.
#pragma once

#include <cstdint>

class ServReq;

// Handles a request that was taken from the slot. answer is the number that the catalogue pairs
// with it: the id of its data answer, or what a return-code answer to it names. The result of the
// handler.
using ServiceHandler = int (*)(const ServReq& request, uint16_t answer);

// Handles a request and marks the request slot idle. The result of its handler; kUnknownService,
// without an answer, when there is none.
int requestHandleService(const ServReq& request);
