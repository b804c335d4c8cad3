// Simulated interfaces and cables that replace net/raw_socket.cpp: every socket of the daemon is
// one end of a SOCK_SEQPACKET pair, and the test has the other.
#pragma once

#include <cerrno>
#include <cstdint>
#include <deque>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "base/fd.h"
#include "wire/frame.h"

struct FakeNetIntf {
    bool up = true;
    int mtu = 1500;  // -1: interfaceMtu fails
    bool bridgePort = false;
    bool failFlags = false;
    std::set<uint16_t> failBind{};  // EtherTypes
    bool allMulti = false;
};

struct FakeNet {
    // Interfaces by name, and names by kernel index.
    std::map<std::string, FakeNetIntf> intfs;
    std::map<unsigned, std::string> names;
    // One entry per future call of openRawSocket: false fails it. When empty, all succeed.
    std::deque<bool> openScript;
    int openError = EPERM;
    int lastReady = 0;          // result of the last waitReadable
    int lastWait = 0;           // its limit in milliseconds
    bool reportsLinks = false;  // set it before the ports are opened; costs a descriptor
    bool losesLinks = false;    // the next readLinkEvents reports a loss
    unsigned flagsRead = 0;     // calls of interfaceFlags
    Fd linkEvents;              // the test's end

    FakeNet() = default;
    FakeNet(const FakeNet&) = delete;
    FakeNet& operator=(const FakeNet&) = delete;
    ~FakeNet();

    FakeNetIntf& addIntf(const std::string& name, unsigned ifIndex);
    // Adds the interfaces of the scripted platform under the indexes 2, 3, ...
    void addPlatformIntfs();
    // Reports the state of an interface to the daemon.
    void linkEvent(unsigned ifIndex, bool hasCarrier = true);
    FakeNetIntf* find(const std::string& name);

    // Sends a frame to the 1905 socket of the daemon on the interface. False if there is none or
    // its buffer is full.
    bool inject(const std::string& name, const std::vector<uint8_t>& frame,
                uint16_t etherType = kEtherType1905);
    // The frames that the daemon sent on the interface since the last call, in order.
    std::vector<std::vector<uint8_t>> captureFrames(const std::string& name,
                                                    uint16_t etherType = kEtherType1905);
    // The number of open sockets of the daemon on the interface.
    size_t openSockets(const std::string& name, uint16_t etherType = kEtherType1905);
    // True if the daemon called stopReceiving for its socket on the interface.
    bool receiveStopped(const std::string& name, uint16_t etherType);

    // For the functions of raw_socket.h.
    struct Socket {
        int fd = -1, far = -1;  // the daemon's end and the test's
        std::string name{};
        uint16_t etherType = 0;
        bool stopped = false;
    };
    std::vector<Socket> sockets;  // in the order of opening
    std::map<std::pair<std::string, uint16_t>, std::vector<std::vector<uint8_t>>> captured;

    Socket* socketOf(int fd);
    Socket* newest(const std::string& name, uint16_t etherType);
    bool drain(const Socket& socket);
    void collect();
};

// Of the device in use (test_device.h).
FakeNet& fakeNet();
