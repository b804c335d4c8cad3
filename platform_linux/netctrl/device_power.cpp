// Power state of interfaces: up and down in the kernel.
#include "api.h"
#include "base/result.h"
#include "common/log.h"
#include "netctrl/links.h"
#include "netctrl/watch.h"

namespace {

// Applies the state to every interface for which picks() is true.
template <typename Picks>
int setPwrState(uint32_t state, Picks picks) {
    if (state != PLATFORM_PWR_ON && state != PLATFORM_PWR_OFF) return kPwrUnsupported;
    int result = kNoLocalIntf;
    for (const Intf& intf : reported().intfs) {
        if (!picks(intf)) continue;
        const bool done = setLinkUp(intf.index, state == PLATFORM_PWR_ON);
        LOG_LINE(done ? 3 : 1, "set %s %s: %s", intf.name.c_str(),
                 state == PLATFORM_PWR_ON ? "up" : "down", done ? "done" : "failed");
        if (!done) result = kFailure;
        if (done && result == kNoLocalIntf) result = kOk;
    }
    return result;
}

}  // namespace

int setIntfPwrStateByType(uint32_t mediaType, uint32_t state) {
    return setPwrState(state, [=](const Intf& intf) { return intf.mediaType == mediaType; });
}

int setIntfPwrStateById(const uint8_t* mac, uint32_t mediaType, uint32_t state) {
    if (mac == nullptr) return kFailure;
    return setPwrState(state, [wanted = MacAddr(mac), mediaType](const Intf& intf) {
        return intf.mac == wanted && intf.mediaType == mediaType;
    });
}
