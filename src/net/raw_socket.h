// The calls of the ports to the operating system. Tests replace this module by one with simulated
// interfaces and cables.
#pragma once

#include <sys/select.h>

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "base/fd.h"
#include "base/text.h"

// The name of the interface with this kernel index, empty if there is none.
std::string interfaceName(unsigned ifIndex);

// The names of all interfaces by kernel index.
std::map<unsigned, std::string> interfaceNames();

// Opens a raw link-layer socket, which receives nothing until it is bound; -1 on failure.
[[nodiscard]] int openRawSocket();

// Binds the socket to the interface, so that it receives incoming frames of the EtherType (host
// byte order). onBridge must be true for a port of a kernel bridge. May be called again after the
// interface joined or left a bridge. False on failure.
[[nodiscard]] bool bindRawSocket(int fd, unsigned ifIndex, uint16_t etherType, bool onBridge);

// True if the interface is a port of a kernel bridge.
[[nodiscard]] bool isBridgePort(unsigned ifIndex);

// Makes a socket that is only written to receive nothing.
void stopReceiving(int fd);

// Requests a receive buffer of 4 MiB, which holds a long burst; failures are ignored.
void growReceiveBuffer(int fd);

// Reads the flags (IFF_...) of the interface. False on failure, with flags unchanged.
bool interfaceFlags(int fd, const char* name, short& flags);

// Makes the interface accept every multicast; failures are ignored. True if it did not do so
// before.
bool acceptAllMulticasts(int fd, const char* name);
// Undoes that; failures are ignored.
void stopAllMulticasts(int fd, const char* name);

// The MTU of the interface in bytes, -1 on failure.
[[nodiscard]] int interfaceMtu(int fd, const char* name);

// Sends a frame. The result of write(2).
[[nodiscard]] ssize_t writeFrame(int fd, std::span<const uint8_t> frame);

// Opens a socket on which the kernel announces changes of interfaces; none on failure, or if
// waitReadable could not wait for it.
[[nodiscard]] Fd openLinkEvents();

// The state of an interface that the kernel reports.
struct LinkEvent {
    unsigned ifIndex = 0;
    short flags = 0;   // IFF_...
    uint32_t mtu = 0;  // 0: not reported
    Text<16> name{};   // empty: not reported, or the interface has been removed
};

// Reads all waiting events of such a socket. False if the kernel has dropped some.
bool readLinkEvents(int fd, std::vector<LinkEvent>& events);

// Waits until one of the descriptors below limit in the set is readable or the time is over. The
// result and the set are those of select(2).
[[nodiscard]] int waitReadable(int limit, fd_set& readable, int milliseconds);
