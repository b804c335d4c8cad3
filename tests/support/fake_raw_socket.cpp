#include "support/fake_raw_socket.h"

#include <fcntl.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <utility>

#include "support/fake_platform.h"
#include "transport/raw_socket.h"

namespace {

constexpr int kBuffer = 4 << 20;

void enlarge(int fd) {
    // Forced needs a privilege; otherwise the kernel cuts it to its own limit.
    if (setsockopt(fd, SOL_SOCKET, SO_SNDBUFFORCE, &kBuffer, sizeof kBuffer) != 0) {
        (void)setsockopt(fd, SOL_SOCKET, SO_SNDBUF, &kBuffer, sizeof kBuffer);
    }
}

bool peerClosed(int fd) {
    pollfd state{fd, 0, 0};
    return poll(&state, 1, 0) == 1 && (state.revents & (POLLHUP | POLLERR | POLLNVAL)) != 0;
}

}  // namespace

FakeNet& fakeNet() {
    static FakeNet net;
    return net;
}

void FakeNet::reset() {
    for (auto& [fd, socket] : sockets_) close(socket.far);
    *this = FakeNet{};
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

// Takes what the daemon has written so far.
void FakeNet::drain(Socket& socket) {
    std::array<uint8_t, 4096> buffer;
    for (;;) {
        const ssize_t size = recv(socket.far, buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (size <= 0) return;
        captured_[{socket.name, socket.etherType}].emplace_back(buffer.begin(),
                                                                buffer.begin() + size);
    }
}

// Drains all sockets and forgets those that the daemon has closed.
void FakeNet::collect() {
    for (auto it = sockets_.begin(); it != sockets_.end();) {
        const bool closed = peerClosed(it->second.far);
        drain(it->second);
        if (closed) close(it->second.far);
        it = closed ? sockets_.erase(it) : std::next(it);
    }
}

int FakeNet::open() {
    if (!openScript.empty()) {
        const bool succeeds = openScript.front();
        openScript.pop_front();
        if (!succeeds) return -1;
    }
    collect();
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()) != 0) {
        return -1;
    }
    enlarge(ends[0]);
    enlarge(ends[1]);
    cabled_.erase(ends[0]);
    sockets_[ends[0]] = Socket{ends[1], {}, 0, false, opened_++};
    return ends[0];
}

bool FakeNet::bind(int fd, unsigned ifIndex, uint16_t etherType) {
    const auto name = names.find(ifIndex);
    const auto socket = sockets_.find(fd);
    if (name == names.end()) return false;
    FakeNetIntf& intf = intfs[name->second];
    if (intf.failBind.contains(etherType)) return false;
    if (socket == sockets_.end()) return cabled_.contains(fd);
    socket->second.name = name->second;
    socket->second.etherType = etherType;
    const int cable = etherType == kEtherType1905 ? intf.cable1905 : intf.cableLldp;
    if (cable >= 0) {
        if (dup3(cable, fd, O_CLOEXEC) < 0) return false;
        (void)fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK);
        close(socket->second.far);
        sockets_.erase(socket);
        cabled_.insert(fd);
    }
    return true;
}

void FakeNet::stopReceiving(int fd) {
    if (const auto socket = sockets_.find(fd); socket != sockets_.end()) {
        socket->second.stopped = true;
    }
}

// A descriptor stays open for a while after its port was retired, so the last one counts.
FakeNet::Socket* FakeNet::newest(const std::string& name, uint16_t etherType) {
    collect();
    Socket* found = nullptr;
    for (auto& [fd, socket] : sockets_) {
        if (socket.name != name || socket.etherType != etherType) continue;
        if (found == nullptr || socket.serial > found->serial) found = &socket;
    }
    return found;
}

bool FakeNet::inject(const std::string& name, const std::vector<uint8_t>& frame,
                     uint16_t etherType) {
    const Socket* socket = newest(name, etherType);
    return socket != nullptr && !socket->stopped &&
           send(socket->far, frame.data(), frame.size(), MSG_DONTWAIT | MSG_NOSIGNAL) ==
               static_cast<ssize_t>(frame.size());
}

std::vector<std::vector<uint8_t>> FakeNet::captureFrames(const std::string& name,
                                                         uint16_t etherType) {
    collect();
    return std::exchange(captured_[{name, etherType}], {});
}

size_t FakeNet::openSockets(const std::string& name, uint16_t etherType) {
    collect();
    size_t n = 0;
    for (const auto& [fd, socket] : sockets_) {
        n += socket.name == name && socket.etherType == etherType;
    }
    return n;
}

bool FakeNet::receiveStopped(const std::string& name, uint16_t etherType) {
    const Socket* socket = newest(name, etherType);
    return socket != nullptr && socket->stopped;
}

std::string interfaceName(unsigned ifIndex) {
    const auto it = fakeNet().names.find(ifIndex);
    return it == fakeNet().names.end() ? "" : it->second;
}

int openRawSocket() {
    return fakeNet().open();
}

bool bindRawSocket(int fd, unsigned ifIndex, uint16_t etherType, bool /*onBridge*/) {
    return fakeNet().bind(fd, ifIndex, etherType);
}

bool isBridgePort(unsigned ifIndex) {
    const FakeNetIntf* intf = fakeNet().find(interfaceName(ifIndex));
    return intf != nullptr && intf->bridgePort;
}

void stopReceiving(int fd) {
    fakeNet().stopReceiving(fd);
}

void growReceiveBuffer(int fd) {
    enlarge(fd);
}

bool interfaceFlags(int, const char* name, short& flags) {
    const FakeNetIntf* intf = fakeNet().find(name);
    if (intf == nullptr || intf->failFlags) return false;
    flags = intf->up ? IFF_UP : 0;
    return true;
}

void acceptAllMulticasts(int, const char* name) {
    if (FakeNetIntf* intf = fakeNet().find(name)) intf->allMulti = true;
}

int interfaceMtu(int, const char* name) {
    const FakeNetIntf* intf = fakeNet().find(name);
    return intf == nullptr ? -1 : intf->mtu;
}

// Never waits: what a test wants to be there is there, and the test drives the clock.
int waitReadable(int limit, fd_set& readable, int) {
    timeval none{0, 0};
    fakeNet().lastReady = select(limit, &readable, nullptr, nullptr, &none);
    return fakeNet().lastReady;
}
