// The ports: local interfaces with their LLDP and IEEE 1905.1 sockets, and the two frame buffers
// that they share.
#pragma once

#include <array>
#include <cstdint>
#include <list>
#include <set>

#include "base/clock.h"
#include "base/fd.h"
#include "base/mac_addr.h"
#include "base/text.h"

inline constexpr size_t kMaxFrameLen = 1500;  // from the destination MAC on

struct FrameBuffer {
    uint32_t length = 0;
    std::array<uint8_t, kMaxFrameLen> frame{};
};

// So many frames are read at a time.
inline constexpr size_t kRxBuffers = 8;

struct Port {
    Fd lldpSock;
    Fd ieee1905Sock;
    uint8_t ifIndex = 0;
    Text<16> name;
    uint32_t mediaType = 0;
    uint32_t mtu = 0;
    MacAddr mac;
    bool isDown = false;
    bool isCurrent = false;  // the kernel will report if isDown becomes true
    bool hasCarrier = false;
    bool onBridge = false;  // the IEEE 1905.1 socket is bound for a port of a bridge
};

struct PortsState {
    std::list<Port> ports;
    unsigned users = 0;         // number of PortsInUse objects
    bool reinitWanted = false;  // rebuild the list when the last user is done
    // When to try again, because a port could not be opened for lack of descriptors or memory; 0:
    // never.
    Seconds retryTime = 0;
    Fd linkEvents;  // openLinkEvents; without it, each refresh asks the kernel
    // Indexes of the interfaces that accept all multicasts because of this daemon.
    std::set<unsigned> allMulticasts{};
    FrameBuffer txBuffer;
    std::array<FrameBuffer, kRxBuffers> rxBuffers;
    size_t rxBuffer = 0;  // the one in use
};

// Builds the list of ports: the kernel interfaces with index 1 to 253 that are in the interface
// table and that the platform does not exclude. An interface whose sockets cannot be set up is left
// out. Logs the interfaces beyond these indexes, and if no port is open. kOk, or kFailure if the
// interface table is empty.
[[nodiscard]] int initIntfPorts();
// Closes all ports and builds the list again. The result of initIntfPorts; or kOk while the ports
// are in use (PortsInUse): the list is then rebuilt at the end of that use.
int reinitIntfPorts();
// Builds the list again if a port could not be opened a while ago for lack of descriptors or
// memory.
void retryIntfPorts();
// Closes all ports, and leaves their interfaces as they were before the first initIntfPorts. kOk.
int destroyIntfPorts();

// Keeps the list of ports as it is while this object lives. Code that iterates over the ports or
// uses one of them needs it: a handler or the platform may call reinitIntfPorts meanwhile.
class PortsInUse {
  public:
    PortsInUse();
    ~PortsInUse();
    PortsInUse(const PortsInUse&) = delete;
    PortsInUse& operator=(const PortsInUse&) = delete;
};

// Binds the IEEE 1905.1 sockets of ports that joined or left a bridge again. kOk.
int rebindIntfPorts();

// Gives the ports the media types of their interfaces.
void updatePortMediaTypes();

// The descriptor that is readable when a link has changed, -1 if there is none.
int linkEventsFd();
// Gives the ports the state that the kernel reports. True if the carrier of a port has returned;
// its neighbors must then be heard again soon.
[[nodiscard]] bool aLinkHasReturned();

std::list<Port>& getIntfPorts();
// The buffers of the frame that is being sent and of the received frame that is being handled.
FrameBuffer& getTxBuffer();
FrameBuffer& getRxBuffer();
// Makes the index-th of kRxBuffers the receive buffer and returns it.
FrameBuffer& useRxBuffer(size_t index);

// Sets isDown. Asks the kernel, unless the port is up by what it has reported so far. kOk, or
// kIntfError if the port has no name.
int refreshIntfPort(Port& port);

// Sends a frame by a socket of the port, which a refresh has found up. The result of write(2). If
// the interface may have changed since, refreshes the port; the failure is no error if isDown is
// then true.
[[nodiscard]] ssize_t sendFrame(Port& port, const Fd& socket, const FrameBuffer& frame);

// True if the port may send now: it is up (it is refreshed) and the platform does not exclude it.
[[nodiscard]] bool portIsUsable(Port& port);

// Open and bind one socket of a port; the first also reads its flags and MTU. kOk, kFailure if the
// MTU cannot be read, or kIntfError if the socket cannot be opened or bound or the port has no
// name.
[[nodiscard]] int setupLldpSocket(Port& port);
[[nodiscard]] int setupIeee1905Socket(Port& port);
