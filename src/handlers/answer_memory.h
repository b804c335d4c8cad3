// The answers to vendor messages, and the memory of those given in the last 5 seconds. Over
// redundant links the same message arrives more than once; its copies get the same answers, but
// nothing is done again.
#pragma once

#include <deque>

#include "base/clock.h"
#include "handlers/vend_context.h"

// A handled message and the answers to it.
struct HandledMessage {
    MacAddr alMac;  // of the sender
    uint16_t msgId = 0;
    uint16_t type = 0;
    Seconds time = 0;
    std::vector<VendMsg> answers{};
};

struct AnswerMemory {
    std::deque<HandledMessage> messages;  // the oldest first
};

// Sends an answer to the source of the message under its identifier, and notes it in the context.
// The result of the send.
int sendAnswer(const VendContext& context, VendMsgType type, VendPayload&& payload);

// Remembers the message with the answers noted in the context. Of more than 256 messages the oldest
// is forgotten.
void rememberAnswers(const VendContext& context);

// If the message is a copy of one that is remembered, sends the answers again, to the source of the
// copy. False if it is none.
bool repeatAnswers(const VendContext& context);
