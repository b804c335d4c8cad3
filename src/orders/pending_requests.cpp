#include "orders/pending_requests.h"

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"

namespace {

constexpr uint16_t kFree = ServReqEntry::kFree;
constexpr Seconds kLifetime = 6;

auto& serv_req() {
    return stateOf<PendingRequests>().serv_req;
}

}  // namespace

void initPendingRequests() {
    serv_req().fill({});
}

int registerServReq(int32_t pid, uint32_t servId, uint16_t msgId) {
    LOG(4, "pid = %d, servId = %d, msgId = %d\r\n", pid, static_cast<int>(servId), msgId);
    const Seconds time = now();
    ServReqEntry* expired = nullptr;
    ServReqEntry* oldest = &serv_req().front();
    Seconds greatestAge = 0;
    // Meant: only the age counts. An answered request is not replaced sooner than one that still
    // waits.
    for (auto& entry : serv_req()) {
        const Seconds age = time - entry.time;
        if (age >= kLifetime) {
            entry.msgId = kFree;
            if (expired == nullptr) expired = &entry;
        } else if (age > greatestAge) {
            greatestAge = age;
            oldest = &entry;
        }
    }
    *(expired != nullptr ? expired : oldest) = {pid, static_cast<uint8_t>(servId), msgId, time};
    return kOk;
}

int32_t searchServReqRespPid(uint32_t servId, uint16_t msgId) {
    LOG(4, "servId = %d, msgId = %d\r\n", static_cast<int>(servId), msgId);
    // Meant: an expired request is still answered until another one replaces it.
    for (auto& entry : serv_req()) {
        if (entry.msgId == kFree || entry.msgId != msgId) continue;
        if (entry.servId + 1U != (servId & 0xFFU)) continue;
        entry.msgId = kFree;
        return entry.pid;
    }
    LOG(3, "can't find the PID of service request/response (servId = %d, msgId = %d) pair\r\n",
        static_cast<int>(servId), msgId);
    return kNoClient;
}
