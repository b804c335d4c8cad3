#include "service/service_monitor.h"

#include "base/log.h"
#include "base/monitor_state.h"
#include "base/result.h"
#include "base/state.h"
#include "orders/pending_requests.h"
#include "orders/slots.h"
#include "platform/lifecycle.h"
#include "service/intf_request.h"
#include "service/service_callback.h"
#include "service/service_catalogue.h"
#include "service/wake_fifo.h"

namespace {

uint32_t& state() {
    return stateOf<ServiceMonitor>().state;
}

int invalidOperation() {
    LOG(1,
        "invalid operation: current state is (%d)(0:UNINIT, 1:INIT, 2:START, 3:IDLE, 4:STOP)\r\n",
        static_cast<int>(state()));
    return kInvalidState;
}

// Meant: the line says "INIT" for every expected state.
int invalidState(MonitorState expected) {
    LOG(1, "invalid operational state (%d) should be (%d/INIT)\r\n", static_cast<int>(state()),
        expected);
    return kFailure;
}

}  // namespace

int initServiceHandler() {
    initPendingRequests();
    (void)setServReqCallbackFunc(servReqCallback);
    return kOk;
}

int initServiceMonitor() {
    if (state() != kUninit) return invalidOperation();
    LOG_PUTS(4, "initialize shared memory\r");
    if (initServReqShm() != kOk || initServRespShm() != kOk) {
        // Meant: one text for both segments, here and in destroyServiceMonitor.
        // The segments are not removed: they may belong to a running daemon.
        LOG_PUTS(1, "initSerReqShm() failed\r");
        return kFailure;
    }
    openWakeFifo();
    state() = kInit;
    return kOk;
}

int startServiceMonitor() {
    if (state() != kInit) return invalidState(kInit);
    if (initServiceHandler() != kOk) {
        LOG_PUTS(1, "failed to initialize service handler\r");
        return kFailure;
    }
    state() = kStart;
    return kOk;
}

int runServiceMonitor() {
    if (state() != kStart) return invalidState(kStart);
    int result = continueIntfRequest();
    if (!intfRequestIsPending() && requestIsWaiting()) result = requestHandleService(takeRequest());
    if (result != kOk) LOG(2, "failed to handle service request (retCode = %d)\r\n", result);
    return kOk;
}

int destroyServiceMonitor() {
    if (state() == kUninit) return invalidOperation();
    closeWakeFifo();
    initPendingRequests();
    stateOf<IntfRequest>() = {};
    const int request = destroyServReqShm();
    const int response = destroyServRespShm();
    if (request != kOk || response != kOk) {
        LOG_PUTS(1, "initSerReqShm() failed\r");
        return kFailure;
    }
    state() = kUninit;
    return kOk;
}

uint32_t getServiceMonitorState() {
    return state();
}
