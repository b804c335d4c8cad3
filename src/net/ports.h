// The ports: local interfaces with their LLDP and IEEE 1905.1 sockets, and the two frame buffers
// that all of them share.
#pragma once

#include <array>
#include <cstdint>
#include <list>

#include "base/fd.h"
#include "base/mac_addr.h"
#include "base/text.h"

inline constexpr size_t kMaxFrameLen = 1500;  // destination MAC first

struct FrameBuffer {
    uint32_t length = 0;
    std::array<uint8_t, kMaxFrameLen> frame{};
};

struct Port {
    Fd lldpSock;
    Fd ieee1905Sock;
    uint8_t ifIndex = 0;
    Text<16> name;
    uint32_t mediaType = 0;
    uint32_t mtu = 0;
    MacAddr mac;
    bool isDown = false;
    bool onBridge = false;  // how the sockets are bound
};

struct PortsState {
    std::list<Port> ports;
    unsigned users = 0;         // of the list
    bool reinitWanted = false;  // when the last user is done
    FrameBuffer txBuffer;
    FrameBuffer rxBuffer;
};

// Builds the port list from the kernel's interfaces 1 to 253 and the interface table. kOk, or
// kFailure when the interface table is empty.
[[nodiscard]] int initIntfPorts();
// Closes all ports and builds the list again; the result of initIntfPorts. While somebody goes
// through the ports this is put off until they are done, and kOk is returned.
int reinitIntfPorts();
// Closes all ports. kOk.
int destroyIntfPorts();

// Held by whoever goes through the ports or works with one of them: a handler or the platform
// library may ask meanwhile for the ports to be built anew.
class PortsInUse {
  public:
    PortsInUse();
    ~PortsInUse();
    PortsInUse(const PortsInUse&) = delete;
    PortsInUse& operator=(const PortsInUse&) = delete;
};

// Binds anew the IEEE 1905.1 sockets of ports that joined or left a kernel bridge. kOk.
int rebindIntfPorts();

// The platform reports another media type of an interface.
void updatePortMediaType(const MacAddr& mac, uint32_t oldMediaType, uint32_t newMediaType);

std::list<Port>& getIntfPorts();
FrameBuffer& getTxBuffer();
FrameBuffer& getRxBuffer();

// Asks the kernel whether the port is up. kOk, or kIntfError when the port has no name.
int refreshIntfPort(Port& port);

// True when the port may send now: refreshed, up, and not excluded by the platform.
[[nodiscard]] bool portIsUsable(Port& port);

// Open and bind one socket of a port. kOk, kFailure when the MTU cannot be read, kIntfError on
// socket, bind or name failure.
[[nodiscard]] int setupLldpSocket(Port& port);
[[nodiscard]] int setupIeee1905Socket(Port& port);
