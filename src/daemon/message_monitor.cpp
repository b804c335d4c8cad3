#include "daemon/message_monitor.h"

#include <algorithm>

#include "base/clock.h"
#include "base/log.h"
#include "base/monitor_state.h"
#include "base/result.h"
#include "base/state.h"
#include "controller/announcements.h"
#include "daemon/receiver.h"
#include "db/data_manager.h"
#include "db/options.h"
#include "handlers/vend_dispatch.h"
#include "net/fragment_store.h"
#include "net/ports.h"
#include "net/raw_socket.h"
#include "net/transmitter.h"
#include "publish/data_model_files.h"
#include "service/intf_request.h"
#include "service/wake_fifo.h"

namespace {

constexpr int kWait = 1000;                     // ms
constexpr int kPendingWait = kSlotWait / 1000;  // while a client of this device is awaited

MessageMonitor& module() {
    return stateOf<MessageMonitor>();
}

int longestWait() {
    if (intfRequestIsPending()) return kPendingWait;
    // Rounded up, so that the file is due then.
    return static_cast<int>(std::min<int64_t>(timeToDataModelFile() / 1000, kWait - 1)) + 1;
}

}  // namespace

int initMessageMonitor() {
    if (initIntfPorts() != kOk) return kFailure;
    module().state = kInit;
    return kOk;
}

int startMessageMonitor() {
    if (module().state != kInit) {
        LOG(1, "invalid operational state (%d) should be (%d/INIT)\r\n",
            static_cast<int>(module().state), kInit);
        return kFailure;
    }
    module().state = kStart;
    (void)(getEnableNetTopolOption() == 1 ? enableNetTopol() : disableNetTopol());
    if (initMessageTransmitter() != kOk) {
        LOG_PUTS(1, "failed to initialize message transmitter\r");
        return kFailure;
    }
    if (initMessageReceiver() != kOk) {
        LOG_PUTS(1, "failed to initialize message receiver\r");
        return kFailure;
    }
    if (initMessageHandler() == kFailure) {
        LOG_PUTS(1, "failed to initialize message handler\r");
        return kFailure;
    }
    return initVendMessageHandler();
}

int runMessageMonitor() {
    if (module().state != kStart) {
        LOG(1, "invalid operational state (%d) should be (%d/START)\r\n",
            static_cast<int>(module().state), kStart);
        return kFailure;
    }
    checkFragmessageTimeout();
    retryIntfPorts();
    fd_set readable;
    FD_ZERO(&readable);
    int limit = 0;
    const auto watch = [&](int fd) {
        if (fd < 0 || fd >= FD_SETSIZE) return;
        FD_SET(fd, &readable);
        limit = std::max(limit, fd + 1);
    };
    for (const auto& port : getIntfPorts()) {
        watch(port.ieee1905Sock.get());
        if (getReadLldpOption()) watch(port.lldpSock.get());
    }
    watch(wakeFifoFd());
    watch(linkEventsFd());
    const int ready = waitReadable(limit, readable, longestWait());
    holdTime();
    module().paced = ready == 0;
    if (ready <= 0) return kOk;

    const auto isReadable = [&](int fd) {
        return fd >= 0 && fd < FD_SETSIZE && FD_ISSET(fd, &readable);
    };
    if (isReadable(wakeFifoFd())) drainWakeFifo();
    if (isReadable(linkEventsFd()) && aLinkHasReturned()) announceReturnedLink();
    const PortsInUse guard;
    for (auto& port : getIntfPorts()) {
        const bool hasLldp = getReadLldpOption() && isReadable(port.lldpSock.get());
        if (isReadable(port.ieee1905Sock.get())) {
            module().paced |= recv1905Msgs(port) > 0;
        }
        if (hasLldp) {
            (void)recvLldpMsg(port);
            module().paced |= getRxBuffer().length > 0;
        }
    }
    return kOk;
}

bool messageMonitorIsPaced() {
    return module().paced;
}

int destroyMessageMonitor() {
    if (module().state == kUninit) {
        LOG(1,
            "invalid operation: current state is (%d)(0:UNINIT, 1:INIT, 2:START, 3:IDLE, "
            "4:STOP)\r\n",
            static_cast<int>(module().state));
        return kInvalidState;
    }
    if (destroyIntfPorts() != kOk) {
        LOG_PUTS(1, "destroyIntfPorts() failed\r");
        return kFailure;
    }
    destroyFragCmdus();
    module().state = kUninit;
    return kOk;
}

uint32_t getMessageMonitorState() {
    return module().state;
}
