#include "service/intf_request.h"

#include <signal.h>

#include <cerrno>
#include <iterator>
#include <utility>

#include "base/clock.h"
#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "orders/service_ids.h"

namespace {

using namespace slots;

constexpr int64_t kResponseWait = kSlotLooks * kSlotWait / 1000;  // ms
// Meant: the wait ends even if the client never frees the slot, so that it cannot keep all other
// clients from the daemon.
constexpr int64_t kMostWait = 6000;  // ms

IntfRequest& state() {
    return stateOf<IntfRequest>();
}

bool clientExists(int32_t pid) {
    return pid > 0 && (kill(pid, 0) == 0 || errno != ESRCH);
}

// An answer for another client may have been posted meanwhile.
int send(ServResp&& answer) {
    return state().responseFreed ? answer.post() : answer.put();
}

int answerIntf(const ServReq& request) {
    const auto& intfs = getIntfTable();
    const size_t index = request.number(req::kIndex);
    if (index >= intfs.size()) {
        // Meant: the same code for every cause.
        return send(std::move(ServResp(request.pid(), kServRetCode)
                                  .number(resp::kReqId, request.servId())
                                  .number(resp::kRetCode, kFailure)));
    }
    const IntfTable& intf = *std::next(intfs.begin(), static_cast<std::ptrdiff_t>(index));
    return send(
        std::move(ServResp(request.pid(), answerId(kServGetIntf))
                      .mac(resp::kIntfMac, intf.mac)
                      .number(resp::kIntfStatus, intf.operStatus)
                      .number(resp::kIntfAge, static_cast<uint32_t>(now() - intf.lastChange))
                      .number(resp::kIntfMediaType, intf.mediaType)
                      .number(resp::kIntfPwrState, intf.pwrState)));
}

}  // namespace

int respGetIntfServReq(const ServReq& request, uint16_t /*answer*/) {
    state() = {request, uptimeMs()};
    return continueIntfRequest();
}

bool intfRequestIsPending() {
    return state().request.has_value();
}

int continueIntfRequest() {
    if (!intfRequestIsPending()) return kOk;
    const ServReq request = *state().request;
    if (!requestIsHeld(request)) {
        state().request.reset();
        forgetRequest();
        return answerIntf(request);
    }
    const int64_t waited = uptimeMs() - state().since;
    if (!clientExists(request.pid()) || waited >= kMostWait) {
        LOG(2, "the client (%d) has gone or does not mark its request idle\r\n", request.pid());
        state().request.reset();
        markRequestIdle();
        return kFailure;
    }
    // Meant: this waits for the request slot, not for the response slot, but frees the latter.
    if (waited >= kResponseWait && !std::exchange(state().responseFreed, true)) markResponseFree();
    return kOk;
}
