// What the platform library asks the daemon to send.
#pragma once

#include <cstdint>

// Sends the standard message of a SERV_REQ_... (platform/lifecycle.h) from its record; an event
// record receives the message identifier. retCode receives the result of the send, or kFailure
// without a record and for an unknown number.
void servReqCallback(uint32_t servId, void* info, uint32_t* retCode);
