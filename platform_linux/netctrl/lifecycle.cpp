// Lifecycle of the library and the callbacks it reports through.
#include "netctrl/lifecycle.h"

#include "base/claimed_name.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/log.h"
#include "hostapd/orders.h"
#include "hostapd/stations.h"
#include "hostapd/work.h"
#include "netctrl/autoconfig_enrollee.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/autoconfig_registrar.h"
#include "netctrl/firmware_fetch.h"
#include "netctrl/firmware_upgrade.h"
#include "netctrl/isolate.h"
#include "netctrl/notices.h"
#include "netctrl/push_button.h"
#include "netctrl/watch.h"
#include "netctrl/wifi_file.h"
#include "netctrl/wifi_report.h"

namespace {

struct {
    NetStatusEventCallback netStatus = nullptr;
    ServReqCallback servReq = nullptr;
} callbacks;

}  // namespace

int requestService(uint32_t servId, void* info) {
    if (callbacks.servReq == nullptr) {
        LOG_LINE(2, "service request %u before the daemon is ready for it", servId);
        return kFailure;
    }
    uint32_t result = kFailure;
    callbacks.servReq(servId, info, &result);
    return static_cast<int>(result);
}

void tickSecond() {
    collectJobs();
    workOnUpgrade();
    tickRegistrar();
    tickEnrollee();
    publishWifi();
}

int initNetCtrl() {
    // A confined daemon may not be able to read it any more.
    if (!isConfined() && !reloadConf()) return kFailure;
    openWifiFile();
    recallNetworks();
    startUpgrade();
    return openWatch() ? kOk : kFailure;
}

void claimPlatformFiles(uint32_t user, uint32_t group) {
    const Owner owner{user, group};
    const auto log = [](const std::string& line) { LOG_LINE(1, "%s", line.c_str()); };
    const std::string logFile(conf().value("LOG_FILE"));
    if (!logFile.empty()) claimFile(logFile, owner, 0640, log);
    claimFolder(downloadFolder(), owner, log);
}

int startNetCtrl() {
    applyForwarding();
    return kOk;
}

int runNetCtrl() {
    collectJobs();
    const int result = runWatch(callbacks.netStatus);
    reportNotices(callbacks.netStatus);
    if (callbacks.netStatus != nullptr) directUpgrade();
    watchHostapd();
    watchHostapdOrders();
    return result;
}

int destroyNetCtrl() {
    removeIsolation();
    closeWatch();
    dropNotices();
    dropUpgrade();
    dropRegistrar();
    dropEnrollee();
    dropNetworks();
    dropHostapd();
    dropHostapdOrders();
    dropHostapdStations();
    dropPushButtons();
    dropWifiReport();
    closeWifiFile();
    endAllJobs();
    forgetHooks();
    callbacks = {};
    return kOk;
}

int setNetCtrlDebugLevel(uint8_t level) {
    // The level is in the daemon's DEBUGLEVEL, which is read before each line.
    LOG_LINE(4, "debug level %d", level);
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
