// The security exchange. Hooks compose its messages and keep its state; each prints the bytes of
// the next message in hexadecimal.
#include <string>
#include <string_view>

#include "api.h"
#include "base/bytes.h"
#include "base/result.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "platform/exports.h"

namespace {

constexpr uint8_t kM1 = 1;
constexpr uint8_t kM2 = 2;
constexpr const char* kStart = "security-start";

void sendPrinted(const std::string& hook, const MacAddr& to, uint8_t type, std::string_view hex) {
    const auto data = parseHex(hex);
    if (!data || data->size() > UINT16_MAX) {
        LOG_LINE(1, "the output of hook %s is not hexadecimal", hook.c_str());
    } else if (!data->empty() &&
               sendSecurityCtrlMsg(to.data(), type, static_cast<uint16_t>(data->size()),
                                   data->data()) != 0) {
        LOG_LINE(2, "hook %s: its message to %s was not sent", hook.c_str(), macText(to).c_str());
    }
}

// Passes a message to a hook and sends what it prints back to the sender.
int handOver(const std::string& hook, const uint8_t* alMac, Bytes data, uint8_t replyType) {
    return runHook(hook, {macText(alMac), hexText(data)},
                   [hook, replyType, to = MacAddr(alMac)](int result, const std::string& output) {
                       if (result == 0) sendPrinted(hook, to, replyType, output);
                   });
}

}  // namespace

int SecurityCtrl_parseM1(const uint8_t* alMac, uint16_t len, const uint8_t* data) {
    if (data == nullptr && len != 0) return kFailure;
    return handOver("security-m1", alMac, {data, len}, kM2);
}

int SecurityCtrl_parseM2(const uint8_t* alMac, uint16_t len, const uint8_t* data) {
    if (data == nullptr && len != 0) return kFailure;
    return handOver("security-m2", alMac, {data, len}, kM1);
}

// Each line that the hook prints, an AL MAC and bytes, starts an exchange.
int SecurityCtrl_cleanDataToList() {
    if (!hasHook(kStart) || isJobRunning(std::string("hook ") + kStart)) return kOk;
    const JobId job = startHook(
        kStart, {}, {},
        [](int result, const std::string& output) {
            std::string_view lines = output;
            while (result == 0 && !lines.empty()) {
                const std::string_view line = takeLine(lines);
                const auto to = macFromText(line.substr(0, line.find(' ')));
                if (to) {
                    sendPrinted(kStart, *to, kM1, line.substr(line.find(' ') + 1));
                } else if (!line.empty()) {
                    LOG_LINE(1, "hook %s printed a line without an AL MAC", kStart);
                }
            }
        },
        4);
    return job != 0 ? kOk : kFailure;
}
