// Interfaces and cables made by a test, in place of the kernel's packet sockets: every socket of
// the daemon is one end of a SOCK_SEQPACKET pair, the test holds the other.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "transport/frame.h"

struct FakeNetIntf {
    bool up = true;
    int mtu = 1500;  // -1: asking for it fails
    bool bridgePort = false;
    bool failFlags = false;
    std::set<uint16_t> failBind{};  // EtherTypes
    bool allMulti = false;          // set by the daemon
    int cable1905 = -1;             // when given, a duplicate of it becomes the IEEE 1905.1 socket
    int cableLldp = -1;             // the same for the LLDP socket; may be the same descriptor
};

class FakeNet {
  public:
    // Interfaces by name; the kernel indexes follow.
    std::map<std::string, FakeNetIntf> intfs;
    std::map<unsigned, std::string> names;
    // One entry per coming openRawSocket: false fails it. When empty, all succeed.
    std::deque<bool> openScript;
    int lastReady = 0;  // what the last waitReadable returned

    // Removes every interface and closes the test's ends.
    void reset();
    FakeNetIntf& addIntf(const std::string& name, unsigned ifIndex);
    // Adds the interfaces of the scripted platform under the indexes 2, 3, ...
    void addPlatformIntfs();

    // Hands a frame to the socket that the daemon bound last on the interface. False when there is
    // none or its buffer is full.
    bool inject(const std::string& name, const std::vector<uint8_t>& frame,
                uint16_t etherType = kEtherType1905);
    // What the daemon has sent on the interface since the last call, in order.
    std::vector<std::vector<uint8_t>> captureFrames(const std::string& name,
                                                    uint16_t etherType = kEtherType1905);
    // Number of sockets that the daemon has bound to the interface and not closed.
    size_t openSockets(const std::string& name, uint16_t etherType = kEtherType1905);
    // The daemon said that it will not read from the socket that it bound last.
    bool receiveStopped(const std::string& name, uint16_t etherType);

    // For the functions of raw_socket.h.
    int open();
    bool bind(int fd, unsigned ifIndex, uint16_t etherType);
    void stopReceiving(int fd);
    FakeNetIntf* find(const std::string& name);

  private:
    struct Socket {
        int far = -1;
        std::string name;
        uint16_t etherType = 0;
        bool stopped = false;
        unsigned serial = 0;  // grows with every open
    };
    using Key = std::pair<std::string, uint16_t>;

    void drain(Socket& socket);
    void collect();
    Socket* newest(const std::string& name, uint16_t etherType);

    unsigned opened_ = 0;
    std::set<int> cabled_;           // descriptors of the daemon that are a test's cable
    std::map<int, Socket> sockets_;  // by the daemon's descriptor
    std::map<Key, std::vector<std::vector<uint8_t>>> captured_;
};

FakeNet& fakeNet();
