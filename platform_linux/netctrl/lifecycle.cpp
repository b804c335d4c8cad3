// Lifecycle of the library and the callbacks it reports through.
#include "netctrl/lifecycle.h"
#include "common/conf.h"
#include "common/hook.h"
#include "common/log.h"
#include "netctrl/isolate.h"
#include "netctrl/notices.h"
#include "netctrl/upgrade.h"
#include "netctrl/watch.h"

namespace plat {
namespace {

struct Callbacks {
    NetStatusEventCallback netStatus = nullptr;
    ServReqCallback servReq = nullptr;
};
Callbacks callbacks;

}  // namespace

int requestService(uint32_t servId, void* info) {
    if (callbacks.servReq == nullptr) {
        PLAT_LOG(2, "service request %u before the daemon is ready for it", servId);
        return kFailure;
    }
    uint32_t result = kFailure;
    callbacks.servReq(servId, info, &result);
    return static_cast<int>(result);
}

void tickSecond() {
    collectJobs();
    workOnUpgrade();
}

}  // namespace plat

using namespace plat;

int initNetCtrl(void) {
    reloadConf();
    startUpgrade();
    return openWatch() ? kOk : kFailure;
}

int startNetCtrl(void) {
    applyForwarding();
    return kOk;
}

int runNetCtrl(void) {
    collectJobs();
    const int result = runWatch(callbacks.netStatus);
    reportNotices(callbacks.netStatus);
    if (callbacks.netStatus != nullptr) directUpgrade();
    return result;
}

int destroyNetCtrl(void) {
    removeIsolation();
    closeWatch();
    dropNotices();
    dropUpgrade();
    endAllJobs();
    forgetHooks();
    callbacks = {};
    return kOk;
}

int setNetCtrlDebugLevel(uint8_t level) {
    // The level itself is the daemon's DEBUGLEVEL, read before each line.
    PLAT_LOG(4, "debug level %d", level);
    return kOk;
}

int setNetStatusEventCallbackFunc(NetStatusEventCallback callback) {
    callbacks.netStatus = callback;
    return kOk;
}

int setServReqCallbackFunc(ServReqCallback callback) {
    callbacks.servReq = callback;
    return kOk;
}
