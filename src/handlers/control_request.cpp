#include "handlers/control_request.h"

#include "base/log.h"
#include "base/result.h"
#include "handlers/answer_memory.h"
#include "handlers/remote_command.h"
#include "platform/autoconfig.h"
#include "wire/vend_payloads.h"

namespace {

bool hasRole(uint8_t role) {
    WpsConfig config{};
    return getWPSConfig(&config) == 0 && config.deviceType == role;
}

}  // namespace

bool isRegistrar() {
    if (hasRole(PLATFORM_REGISTRAR)) return true;
    LOG_PUTS(2, "Device is not Registrar\r");
    return false;
}

bool isEnrollee() {
    if (hasRole(PLATFORM_ENROLLEE)) return true;
    LOG_PUTS(2, "Device is not Enrollee\r");
    return false;
}

int answerRequest(const VendContext& context, VendMsgType respType, int retCode) {
    return answerRequest(context, respType, RetCodePayload(retCode), retCode);
}

int answerRequest(const VendContext& context, VendMsgType respType, VendPayload&& payload,
                  int retCode) {
    if (context.path == kVendPathCommand) return requestCommandresult(context, retCode);
    const int result = sendAnswer(context, respType, std::move(payload));
    return result == kOk ? kOk : kFailure;
}
