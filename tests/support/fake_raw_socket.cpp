#include "support/fake_raw_socket.h"

#include <fcntl.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "net/raw_socket.h"
#include "support/fake_platform.h"

FakeNet::~FakeNet() {
    for (const auto& socket : sockets) close(socket.far);
}

FakeNetIntf& FakeNet::addIntf(const std::string& name, unsigned ifIndex) {
    names[ifIndex] = name;
    return intfs[name];
}

void FakeNet::addPlatformIntfs() {
    unsigned index = 2;
    for (const auto& intf : fakePlatform().intfs) addIntf(intf.name, index++);
}

FakeNetIntf* FakeNet::find(const std::string& name) {
    const auto it = intfs.find(name);
    return it == intfs.end() ? nullptr : &it->second;
}

FakeNet::Socket* FakeNet::socketOf(int fd) {
    const auto it = std::ranges::find(sockets, fd, &Socket::fd);
    return it == sockets.end() ? nullptr : &*it;
}

// Reads what the daemon has written so far. True if the daemon has closed its end, then closes the
// other.
bool FakeNet::drain(const Socket& socket) {
    std::array<uint8_t, 4096> buffer;
    for (;;) {
        const ssize_t size = recv(socket.far, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size == 0) return close(socket.far) == 0;
        if (size > 0) {
            captured[{socket.name, socket.etherType}].emplace_back(buffer.begin(),
                                                                   buffer.begin() + size);
        } else if (errno != ECONNRESET) {  // closed with unread data
            return false;
        }
    }
}

// Drains all sockets and removes those that the daemon has closed.
void FakeNet::collect() {
    std::erase_if(sockets, [this](const Socket& socket) { return drain(socket); });
}

// The newest of the open sockets: rebuilding the ports opens new ones before it closes the old
// ones.
FakeNet::Socket* FakeNet::newest(const std::string& name, uint16_t etherType) {
    collect();
    Socket* found = nullptr;
    for (auto& socket : sockets) {
        if (socket.name == name && socket.etherType == etherType) found = &socket;
    }
    return found;
}

void FakeNet::linkEvent(unsigned ifIndex, bool hasCarrier) {
    const FakeNetIntf& intf = intfs[names[ifIndex]];
    const int flags = (intf.up ? int{IFF_UP} : 0) | (hasCarrier ? int{IFF_RUNNING} : 0);
    const LinkEvent event{
        ifIndex, static_cast<short>(flags), static_cast<uint32_t>(intf.mtu), {names[ifIndex]}};
    (void)send(linkEvents.get(), &event, sizeof event, MSG_NOSIGNAL);
}

bool FakeNet::inject(const std::string& name, const std::vector<uint8_t>& frame,
                     uint16_t etherType) {
    const Socket* socket = newest(name, etherType);
    return socket != nullptr &&
           send(socket->far, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
               static_cast<ssize_t>(frame.size());
}

std::vector<std::vector<uint8_t>> FakeNet::captureFrames(const std::string& name,
                                                         uint16_t etherType) {
    collect();
    return std::exchange(captured[{name, etherType}], {});
}

size_t FakeNet::openSockets(const std::string& name, uint16_t etherType) {
    collect();
    return static_cast<size_t>(std::ranges::count_if(sockets, [&](const Socket& socket) {
        return socket.name == name && socket.etherType == etherType;
    }));
}

bool FakeNet::receiveStopped(const std::string& name, uint16_t etherType) {
    const Socket* socket = newest(name, etherType);
    return socket != nullptr && socket->stopped;
}

std::string interfaceName(unsigned ifIndex) {
    const auto it = fakeNet().names.find(ifIndex);
    return it == fakeNet().names.end() ? "" : it->second;
}

std::map<unsigned, std::string> interfaceNames() {
    return fakeNet().names;
}

Fd openLinkEvents() {
    std::array<int, 2> ends{};
    if (!fakeNet().reportsLinks ||
        socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0)
        return {};
    fakeNet().linkEvents = Fd(ends[1]);
    return Fd(ends[0]);
}

bool readLinkEvents(int fd, std::vector<LinkEvent>& events) {
    LinkEvent event;
    while (recv(fd, &event, sizeof event, MSG_DONTWAIT) == sizeof event) events.push_back(event);
    return !std::exchange(fakeNet().losesLinks, false);
}

int openRawSocket() {
    FakeNet& net = fakeNet();
    if (!net.openScript.empty()) {
        const bool succeeds = net.openScript.front();
        net.openScript.pop_front();
        if (!succeeds) {
            errno = net.openError;
            return -1;
        }
    }
    net.collect();
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0) {
        return -1;
    }
    for (const int end : ends) growReceiveBuffer(end);
    // Leaves the descriptors below 1,024, to which select(2) is limited, to the daemons.
    if (const int high = fcntl(ends[1], F_DUPFD_CLOEXEC, 1024); high >= 0) {
        close(std::exchange(ends[1], high));
    }
    net.sockets.push_back({ends[0], ends[1]});
    return ends[0];
}

bool bindRawSocket(int fd, unsigned ifIndex, uint16_t etherType, bool /*onBridge*/) {
    FakeNet::Socket* socket = fakeNet().socketOf(fd);
    FakeNetIntf* intf = fakeNet().find(interfaceName(ifIndex));
    if (socket == nullptr || intf == nullptr || intf->failBind.contains(etherType)) return false;
    socket->name = interfaceName(ifIndex);
    socket->etherType = etherType;
    return true;
}

bool isBridgePort(unsigned ifIndex) {
    const FakeNetIntf* intf = fakeNet().find(interfaceName(ifIndex));
    return intf != nullptr && intf->bridgePort;
}

void stopReceiving(int fd) {
    if (auto* socket = fakeNet().socketOf(fd)) socket->stopped = true;
}

// For a socket pair the size of the send buffer matters; called for both ends.
void growReceiveBuffer(int fd) {
    const int size = 4 << 20;
    // SO_SNDBUFFORCE needs a privilege; the kernel limits the other.
    if (setsockopt(fd, SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof size) != 0) {
        (void)setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    }
}

bool interfaceFlags(int, const char* name, short& flags) {
    const FakeNetIntf* intf = fakeNet().find(name);
    fakeNet().flagsRead++;
    if (intf == nullptr || intf->failFlags) return false;
    flags = intf->up ? IFF_UP | IFF_RUNNING : 0;
    return true;
}

bool acceptAllMulticasts(int, const char* name) {
    FakeNetIntf* intf = fakeNet().find(name);
    return intf != nullptr && !std::exchange(intf->allMulti, true);
}

void stopAllMulticasts(int fd, const char* name) {
    FakeNetIntf* intf = fakeNet().find(name);
    if (intf != nullptr && fd >= 0) intf->allMulti = false;
}

int interfaceMtu(int, const char* name) {
    const FakeNetIntf* intf = fakeNet().find(name);
    return intf == nullptr ? -1 : intf->mtu;
}

ssize_t writeFrame(int fd, std::span<const uint8_t> frame) {
    const FakeNet::Socket* socket = fakeNet().socketOf(fd);
    const FakeNetIntf* intf = socket != nullptr ? fakeNet().find(socket->name) : nullptr;
    const bool fits = intf == nullptr || frame.size() <= static_cast<size_t>(intf->mtu) + 14;
    if (intf != nullptr && intf->up && fits) return write(fd, frame.data(), frame.size());
    errno = intf == nullptr ? EBADF : fits ? ENETDOWN : EMSGSIZE;
    return -1;
}

// Never waits: the frames of the test have arrived already, and the test sets the clock.
int waitReadable(int limit, fd_set& readable, int milliseconds) {
    timeval none{0, 0};
    fakeNet().lastWait = milliseconds;
    fakeNet().lastReady = select(limit, &readable, nullptr, nullptr, &none);
    return fakeNet().lastReady;
}
