// Maps the requests of clients to their handlers.
#pragma once

#include <cstdint>

class ServReq;

// Handles a request that was taken from the slot. answer is the service number of the data answer,
// or the number that an answer with only a return code names. Returns kOk or an error code.
using ServiceHandler = int (*)(const ServReq& request, uint16_t answer);

// Handles a request and frees the request slot, unless it waits (intf_request.h). Returns the
// result of its handler. If there is none, returns kUnknownService and does not answer.
int requestHandleService(const ServReq& request);
