// What a port asks of the operating system. Tests link their own version of this module, in which
// interfaces and cables are of their making.
#pragma once

#include <sys/select.h>

#include <cstdint>
#include <string>

#include "base/mac_addr.h"

// Name of the interface with this kernel index, empty when there is none.
std::string interfaceName(unsigned ifIndex);

// A raw link-layer socket that hears nothing yet, -1 on failure.
[[nodiscard]] int openRawSocket();

// Binds the socket to the interface so that it hears frames of the EtherType (host byte order)
// that come in; onBridge makes it hear them on a port of a kernel bridge too. May be repeated after
// the interface joined or left a bridge. False on failure.
[[nodiscard]] bool bindRawSocket(int fd, unsigned ifIndex, uint16_t etherType, bool onBridge);

// True when the interface is a port of a kernel bridge.
[[nodiscard]] bool isBridgePort(unsigned ifIndex);

// Leaves a socket that is only written to with nothing to receive.
void stopReceiving(int fd);

// Asks for a receive buffer that holds a long burst.
void growReceiveBuffer(int fd);

// Reads the interface's flags (IFF_...). False on failure, flags then stay as they are.
bool interfaceFlags(int fd, const char* name, short& flags);

// Lets the interface accept every multicast; failures are ignored.
void acceptAllMulticasts(int fd, const char* name);

// MTU in bytes, -1 on failure.
[[nodiscard]] int interfaceMtu(int fd, const char* name);

// Waits until one of the descriptors below limit is readable or the time is over; the result and
// the set are those of select(2).
[[nodiscard]] int waitReadable(int limit, fd_set& readable, int seconds);
