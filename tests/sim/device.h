// One device of a simulated mesh: the daemon on a scripted platform. It runs in the process of the
// test, and only when the test calls it.
#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "support/test_device.h"

namespace sim {

struct DeviceOptions {
    std::vector<std::string> intfs{"eth0"};
    bool forwards = false;            // its kernel bridge forwards between the interfaces
    std::string versions{};           // of its components, the content of "vm1905_Version"
    std::string options{};            // more lines of "vm1905.conf"
    std::function<void()> prepare{};  // runs in the device before its daemon starts
};

// The name, the files and the addresses of a device.
struct Site {
    struct Intf {
        std::string name;
        MacAddr mac;
    };
    std::string name;
    std::string folder;  // of its configuration and data-model files
    MacAddr alMac;
    std::vector<Intf> intfs{};
};

// A running daemon. Destroying it cuts the power.
class RunningDevice {
  public:
    RunningDevice(const DeviceOptions& options, const Site& site);

    // Calls act in the device, between two passes of its daemon. Returns its result.
    template <typename Act>
    auto run(Act&& act) {
        useDevice(device_);
        return std::forward<Act>(act)();
    }

  private:
    TestDevice device_;
};

// For RunningDevice::run:

// Runs passes of the daemon until one finds no frame to receive.
void step();
// Has the platform library report a new text of the LED.
void changeLed();
// Prints the sizes of all tables that neighbors can make grow.
std::string tableSizes();

}  // namespace sim
