#include "net/ports.h"

#include <net/if.h>

#include <cerrno>
#include <cstring>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "net/raw_socket.h"
#include "platform/descriptions.h"
#include "wire/frame.h"

namespace {

constexpr unsigned kLastIfIndex = 253;
constexpr Seconds kRetryPause = 5;

PortsState& module() {
    return stateOf<PortsState>();
}

bool setupSockets(Port& port) {
    if (setupLldpSocket(port) != kOk) {
        LOG(1, "failed to setup LLDP socket of interface (%s)\r\n", port.name.c_str());
        return false;
    }
    if (setupIeee1905Socket(port) != kOk) {
        LOG(1, "failed to setup IEEE 1905.1 socket of interface (%s)\r\n", port.name.c_str());
        return false;
    }
    return true;
}

// Asks the platform and the kernel: each may know of bridges that the other does not.
bool isOnBridge(const Port& port) {
    return isInBrdgTuple(port.name) || isBridgePort(port.ifIndex);
}

bool isUp(short flags) {
    return (flags & IFF_UP) != 0;
}

bool hasCarrier(const Port& port) {
    short flags = 0;
    (void)interfaceFlags(port.lldpSock.get(), port.name.c_str(), flags);
    return (flags & IFF_RUNNING) != 0;
}

void reportIndexOutOfRange(const std::string& name, unsigned ifIndex) {
    if (getIntfTableByName(name) == nullptr) return;
    LOG(2, "interface (%s) gets no port: its index is %d, the highest possible is %d\r\n",
        name.c_str(), static_cast<int>(ifIndex), static_cast<int>(kLastIfIndex));
}

// Meant: every socket sets the flag. Only the first one finds it as it was.
void openToMulticasts(const Port& port, int fd) {
    if (acceptAllMulticasts(fd, port.name.c_str())) module().allMulticasts.insert(port.ifIndex);
}

bool mayPass(int error) {
    return error == EMFILE || error == ENFILE || error == ENOMEM || error == ENOBUFS;
}

void readMtu(Port& port) {
    const int mtu = interfaceMtu(port.lldpSock.get(), port.name.c_str());
    if (mtu >= 0) port.mtu = static_cast<uint32_t>(mtu);
}

// Errors of sends by which an interface shows that its state is not the known one.
bool hintsAtChange(int error) {
    return error == ENETDOWN || error == ENODEV || error == ENXIO || error == EMSGSIZE;
}

// Stores the new state. True if it was false and is true now.
bool rises(bool& state, bool next) {
    return !std::exchange(state, next) && next;
}

}  // namespace

int initIntfPorts() {
    // Before the ports read their state, so that no change is missed.
    if (!module().linkEvents) module().linkEvents = openLinkEvents();
    // A list of its own: the platform may call this very function while it answers a question here.
    std::list<Port> ports;
    const auto names = interfaceNames();
    int error = names.empty() ? errno : 0;  // of the last interface that was left out
    for (const auto& [ifIndex, name] : names) {
        if (ifIndex > kLastIfIndex) {
            reportIndexOutOfRange(name, ifIndex);
            continue;
        }
        if (getDeviceSendMsgEnable(name.c_str()) != 0) continue;
        if (getIntfTable().empty()) {
            LOG_PUTS(1, "interface table isn't ready or the number of interface is 0\r");
            module().ports = std::move(ports);
            return kFailure;
        }
        const IntfTable* intf = getIntfTableByName(name);
        if (intf == nullptr) continue;
        LOG(4, "init port name = [%s]\n", name.c_str());
        Port port;
        port.ifIndex = static_cast<uint8_t>(ifIndex);
        port.mac = intf->mac;
        port.name = name;
        port.mediaType = intf->mediaType;
        if (setupSockets(port)) {
            ports.push_back(std::move(port));
        } else {
            error = errno;
        }
    }
    if (ports.empty()) {
        LOG(1, "no port is open, nothing can be sent or received: %s\r\n",
            error != 0 ? strerror(error) : "no interface takes part");
    }
    module().ports = std::move(ports);
    module().retryTime = mayPass(error) ? now() + kRetryPause : 0;
    return kOk;
}

int reinitIntfPorts() {
    if (module().users > 0) {
        module().reinitWanted = true;
        return kOk;
    }
    // Not destroyIntfPorts: the interfaces go on accepting multicasts.
    module().ports.clear();
    return initIntfPorts();
}

void retryIntfPorts() {
    if (module().retryTime != 0 && now() >= module().retryTime) (void)reinitIntfPorts();
}

int destroyIntfPorts() {
    module().ports.clear();
    const Fd fd(openRawSocket());
    for (const unsigned ifIndex : std::exchange(module().allMulticasts, {})) {
        stopAllMulticasts(fd.get(), interfaceName(ifIndex).c_str());
    }
    return kOk;
}

PortsInUse::PortsInUse() {
    module().users++;
}

PortsInUse::~PortsInUse() {
    if (--module().users > 0 || !module().reinitWanted) return;
    module().reinitWanted = false;
    (void)reinitIntfPorts();
}

int rebindIntfPorts() {
    for (auto& port : module().ports) {
        const bool onBridge = isOnBridge(port);
        if (onBridge == port.onBridge) continue;
        if (bindRawSocket(port.ieee1905Sock.get(), port.ifIndex, kEtherType1905, onBridge)) {
            port.onBridge = onBridge;
        } else {
            LOG(2, "failed to name a (IEEE 1905.1) socket (bind()) for interface (%s)\r\n",
                port.name.c_str());
        }
    }
    return kOk;
}

void updatePortMediaTypes() {
    for (auto& port : module().ports) {
        const IntfTable* intf = getIntfTableByName(port.name);
        if (intf != nullptr) port.mediaType = intf->mediaType;
    }
}

int linkEventsFd() {
    return module().linkEvents.get();
}

bool aLinkHasReturned() {
    std::vector<LinkEvent> events;
    const bool complete = readLinkEvents(linkEventsFd(), events);
    bool returned = false;
    for (auto& port : module().ports) {
        bool isBack = false;
        for (const LinkEvent& event : events) {
            if (event.ifIndex != port.ifIndex) continue;
            // After a removal or renaming, the name may be that of another interface.
            port.isCurrent = event.name == port.name;
            port.isDown = !isUp(event.flags);
            if (event.mtu != 0) port.mtu = event.mtu;
            isBack |= rises(port.hasCarrier, (event.flags & IFF_RUNNING) != 0);
        }
        if (!complete) {
            port.isCurrent = false;
            readMtu(port);
            isBack |= rises(port.hasCarrier, hasCarrier(port));
        }
        if (isBack) hurryNbrTimeOut(port.name);
        returned |= isBack;
    }
    return returned;
}

std::list<Port>& getIntfPorts() {
    return module().ports;
}
FrameBuffer& getTxBuffer() {
    return module().txBuffer;
}
FrameBuffer& getRxBuffer() {
    return module().rxBuffers[module().rxBuffer];
}
FrameBuffer& useRxBuffer(size_t index) {
    module().rxBuffer = index;
    return getRxBuffer();
}

int refreshIntfPort(Port& port) {
    if (port.name.empty()) {
        LOG_PUTS(2, "invalid interface name\r");
        return kIntfError;
    }
    // A port that was down sends nothing, so no failure would show that it is up again.
    if (!port.isCurrent || port.isDown) {
        // Meant: if the kernel does not answer, the interface index is taken for the flags, so that
        // a port with an odd index counts as up.
        short flags = port.ifIndex;
        const bool isRead = interfaceFlags(port.lldpSock.get(), port.name.c_str(), flags);
        if (!isRead) {
            LOG(2, "failed to call ioctl(SIOCGIFFLAGS) of interface (%s)\r\n", port.name.c_str());
        }
        port.isCurrent = isRead && module().linkEvents;
        port.isDown = !isUp(flags);
    }
    // Both texts whole, so that a line of the log is found in the source.
    if (port.isDown) {
        LOG(4, "- port (%s) status: DOWN\r\n", port.name.c_str());
    } else {
        LOG(4, "- port (%s) status: UP\r\n", port.name.c_str());
    }
    return kOk;
}

ssize_t sendFrame(Port& port, const Fd& socket, const FrameBuffer& frame) {
    const ssize_t sent = writeFrame(socket.get(), std::span(frame.frame).first(frame.length));
    if (sent < 0 && hintsAtChange(errno)) {
        port.isCurrent = false;
        readMtu(port);
        (void)refreshIntfPort(port);
    }
    return sent;
}

bool portIsUsable(Port& port) {
    return refreshIntfPort(port) == kOk && !port.isDown &&
           getDeviceSendMsgEnable(port.name.c_str()) == 0;
}

int setupLldpSocket(Port& port) {
    port.lldpSock = Fd(openRawSocket());
    const int fd = port.lldpSock.get();
    if (fd < 0) {
        LOG(2, "failed to create (LLDP) raw socket for interface (%s)\r\n", port.name.c_str());
        return kIntfError;
    }
    LOG(5, "- protocol: 0x%.4x\r\n", kEtherTypeLldp);
    if (!bindRawSocket(fd, port.ifIndex, kEtherTypeLldp, false)) {
        LOG(2, "failed to name a (LLDP) socket (bind()) for interface (%s)\r\n", port.name.c_str());
        return kIntfError;
    }
    if (port.name.empty()) {
        LOG_PUTS(2, "invalid interface name\r");
        return kIntfError;
    }
    if (!getReadLldpOption()) stopReceiving(fd);
    short flags = 0;
    const bool isRead = interfaceFlags(fd, port.name.c_str(), flags);
    port.isDown = !isUp(flags);
    port.isCurrent = isRead && module().linkEvents;
    port.hasCarrier = (flags & IFF_RUNNING) != 0;
    openToMulticasts(port, fd);
    const int mtu = interfaceMtu(fd, port.name.c_str());
    if (mtu < 0) {
        LOG(2, "failed to call ioctl(SIOCGIFMTU) of interface (%s)\r\n", port.name.c_str());
        return kFailure;
    }
    port.mtu = static_cast<uint32_t>(mtu);
    LOG(5, "create a LLDP socket (%d) for interafce (%s, " MAC_FMT "):\r\n", fd, port.name.c_str(),
        MAC_ARGS(port.mac));
    return kOk;
}

int setupIeee1905Socket(Port& port) {
    port.ieee1905Sock = Fd(openRawSocket());
    const int fd = port.ieee1905Sock.get();
    if (fd < 0) {
        LOG(2, "failed to create (IEEE 1905.1) raw socket for interface (%s)\r\n",
            port.name.c_str());
        return kIntfError;
    }
    growReceiveBuffer(fd);
    LOG(5, "- protocol: 0x%.4x\r\n", kEtherType1905);
    port.onBridge = isOnBridge(port);
    if (!bindRawSocket(fd, port.ifIndex, kEtherType1905, port.onBridge)) {
        LOG(2, "failed to name a (IEEE 1905.1) socket (bind()) for interface (%s)\r\n",
            port.name.c_str());
        return kIntfError;
    }
    if (port.name.empty()) {
        LOG_PUTS(2, "invalid interface name\r");
        return kIntfError;
    }
    openToMulticasts(port, fd);
    LOG(5, "create a IEEE 1905.1 socket (%d) for interafce (%s, " MAC_FMT "):\r\n", fd,
        port.name.c_str(), MAC_ARGS(port.mac));
    return kOk;
}
