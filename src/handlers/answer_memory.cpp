#include "handlers/answer_memory.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "net/vend_sender.h"

namespace {

constexpr Seconds kLifetime = 5;
constexpr size_t kMaxMessages = 256;

auto& messages() {
    return stateOf<AnswerMemory>().messages;
}

}  // namespace

int sendAnswer(const VendContext& context, VendMsgType type, VendPayload&& payload) {
    auto msg = makeVendMsg(type, std::move(payload));
    if (!msg) return kFailure;
    auto& answers = context.outcome.answers;
    answers.push_back(std::move(*msg));
    return sendVendRespMsg(context.srcMac, context.msgId, answers.back());
}

void rememberAnswers(const VendContext& context) {
    if (messages().size() == kMaxMessages) messages().pop_front();
    messages().push_back({context.msg.alMac, context.msgId, context.msg.vendMsgType, now(),
                          std::move(context.outcome.answers)});
}

bool repeatAnswers(const VendContext& context) {
    const Seconds time = now();
    while (!messages().empty() && time - messages().front().time > kLifetime) {
        messages().pop_front();
    }
    const auto it = std::ranges::find_if(messages(), [&](const HandledMessage& message) {
        return message.alMac == context.msg.alMac && message.msgId == context.msgId &&
               message.type == context.msg.vendMsgType;
    });
    if (it == messages().end()) return false;
    LOG(4, "a copy of message %d from (" MAC_FMT ") is answered as before\r\n", context.msgId,
        MAC_ARGS(context.msg.alMac));
    for (const VendMsg& answer : it->answers) {
        (void)sendVendRespMsg(context.srcMac, context.msgId, answer);
    }
    return true;
}
