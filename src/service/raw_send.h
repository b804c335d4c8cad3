// Sends standard messages whose TLVs a local process has built.
#pragma once

#include <cstdint>

class ServReq;

// Sends a standard message with the client's TLVs, unchanged; without any, types 0, 1 and 2 leave
// with the TLVs of this device. Answers kTypeNotAllowed for a message type that clients may not
// send, kFailure if the TLVs are malformed or the message cannot be sent. kOk.
int handleRawSendReq(const ServReq& request, uint16_t answer);
