#include "daemon/main_loop.h"

#include <malloc.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "base/clock.h"
#include "base/log.h"
#include "base/result.h"
#include "base/service_manager.h"
#include "controller/alarm.h"
#include "controller/announcements.h"
#include "controller/controller_loop.h"
#include "daemon/control_files.h"
#include "daemon/message_monitor.h"
#include "db/data_model_update.h"
#include "db/neighbor_aging.h"
#include "db/registrars.h"
#include "db/sys_ctrl.h"
#include "db/upcalls.h"
#include "handlers/message_log.h"
#include "net/transmitter.h"
#include "orders/query_tracking.h"
#include "platform/lifecycle.h"
#include "publish/data_model_files.h"
#include "publish/json_data_model.h"
#include "service/service_monitor.h"
#include "wire/frame.h"

namespace {

constexpr Seconds kNetCtrlPeriod = 5;
constexpr Seconds kMemoryPeriod = 60;
constexpr unsigned kYieldMicroseconds = 100;

int sendTopolQuery(const MacAddr& alMac) {
    return requestSend1905UcastMsg(alMac, kMsgTopolQuery, {});
}

// The allocator keeps what the tables of a large mesh, or of a flood, once took.
void giveBackMemory() {
#ifdef __GLIBC__
#if __GLIBC_PREREQ(2, 33)
    constexpr size_t kSpare = 524288;
    if (mallinfo2().fordblks > kSpare) (void)malloc_trim(0);
#endif
#endif
}

int runPlatform(Seconds time) {
    SysCtrl& sys = getSysCtrl();
    if (time - sys.lastNetCtrlRun < kNetCtrlPeriod) return kOk;
    if (runNetCtrl() != 0) {
        LOG_PUTS(1, "failed to run network controller\r");
        return kFailure;
    }
    sys.lastNetCtrlRun = time;
    return kOk;
}

}  // namespace

void installUpcalls() {
    upcalls() = {.writeJsonDataModel = writeJsonDataModel,
                 .requestSendTopolNtfMsg = requestSendTopolNtfMsg,
                 .sendTopolQuery = sendTopolQuery,
                 .reinitIntfPorts = reinitIntfPorts,
                 .deviceDescribed = deviceDescribed,
                 .deviceAnswered = deviceAnswered,
                 .rebootSystem = rebootSystem};
}

int startControllers() {
    setSysState(kStarting);
    if (startNetCtrl() != 0) {
        LOG_PUTS(1, "failed to start network controller\r");
        return kFailure;
    }
    if (startMessageMonitor() != kOk || startServiceMonitor() != kOk) return kFailure;
    setSysState(kRunning);
    return kOk;
}

int runPass() {
    checkAlarms();
    checkIntfNbrIntfTimeOut();
    checkNbrDevTableTimeOut();
    checkRegistrars();
    checkDataModelStatus();
    writeDueDataModelFiles();
    writeDueMsgLog();
    checkUnsentTopolNtfMsg();
    checkDiscRepeat();
    checkVendRespMsgReceived();
    if (runMessageMonitor() != kOk) return kFailure;
    if (runServiceMonitor() != kOk) return kFailure;
    const Seconds time = now();
    if (runPlatform(time) != kOk) return kFailure;
    MessageTransmitterLoop(time, 0);
    return kOk;
}

int runStateMachine() {
    if (startControllers() != kOk) return kFailure;
    // A daemon that restarted itself is not the process that the service manager started.
    notifyServiceManager("READY=1\nMAINPID=" + std::to_string(getpid()));
    return runMainLoop() == kOk ? kOk : kFailure;
}

int runMainLoop() {
    const bool isWatched = secure_getenv("WATCHDOG_USEC") != nullptr;
    Seconds lastLook = 0, lastReturn = now();
    int result = kOk;
    while (result == kOk && getSysState() == kRunning) {
        // Only once a second, as often as an idle loop runs: looking costs more than handling a
        // frame.
        const Seconds time = now();
        if (time != lastLook) {
            (void)checkScriptCmd();
            if (isWatched) notifyServiceManager("WATCHDOG=1");
        }
        lastLook = time;
        if (time - lastReturn >= kMemoryPeriod) {
            giveBackMemory();
            lastReturn = time;
        }
        result = runPass();
        // A timer also costs more than a frame. Only a pass that neither waited nor read needs one.
        if (!messageMonitorIsPaced()) sleepMicroseconds(kYieldMicroseconds);
    }
    releaseTime();
    return result;
}
