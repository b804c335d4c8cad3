// Standard messages whose TLVs a local process has built.
#pragma once

#include <cstdint>

class ServReq;

// Sends a standard message with the TLVs that the client has built, as they are. Answers 64 for a
// type that is not allowed, 16 when the TLVs are not well-formed or it cannot be sent. kOk.
int handleRawSendReq(const ServReq& request, uint16_t answer);
