// Sends the messages that the platform library requests.
#pragma once

#include <cstdint>

// Sends the standard message for servId (SERV_REQ_... of platform/lifecycle.h) with the values of
// its record info. The message identifier is written back into a push-button event's record. If
// retCode is not nullptr it receives the result of the send, or kFailure if info is nullptr or
// servId unknown.
void servReqCallback(uint32_t servId, void* info, uint32_t* retCode);
