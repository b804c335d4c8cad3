// One device of a simulated mesh: the daemon's core on a scripted platform, in a process of its own
// that is a fork of the test. It does nothing but what the test commands, one command at a time.
#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"

namespace sim {

struct DeviceOptions {
    std::vector<std::string> intfs{"eth0"};
    bool forwards = false;  // its kernel bridge forwards between the interfaces
    uint8_t debugLevel = 3;
    std::string versions{};           // of its components, as "vm1905_Version" holds them
    std::function<void()> prepare{};  // runs in the device, before its daemon starts
};

// Runs in the device, between two passes of its daemon. What it returns goes back to the test. A
// device being a fork, functions have the same address here and there.
using Command = std::string (*)();

// Where a device finds itself.
struct Site {
    struct Intf {
        std::string name;
        MacAddr mac;
        int cable;  // the device's end
    };
    std::string name;
    std::string folder;  // its configuration, data-model files and log
    MacAddr alMac;
    int control;
    const std::atomic<Seconds>* clock;
    std::vector<Intf> intfs{};
};

// Carries out the commands that come by the control socket until it is closed; never returns.
[[noreturn]] void runDevice(const DeviceOptions& options, const Site& site);

// Passes of the daemon until one finds no frame to receive.
std::string step();
// The platform library reports a new text of the LED.
std::string changeLed();
// Write a file now that else comes later or for somebody who asks.
std::string writeDataModel();
std::string writeChangeLog();
// The sizes of all tables that the neighbours can make grow.
std::string tableSizes();

}  // namespace sim
