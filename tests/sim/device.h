// One device of a simulated mesh: the daemon on a scripted platform. It runs in the process of the
// test and does nothing but what the test asks of it.
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
    std::string versions{};           // of its components, as "vm1905_Version" holds them
    std::function<void()> prepare{};  // runs in the device, before its daemon starts
};

// Where a device finds itself.
struct Site {
    struct Intf {
        std::string name;
        MacAddr mac;
    };
    std::string name;
    std::string folder;  // its configuration and data-model files
    MacAddr alMac;
    std::vector<Intf> intfs{};
};

// A daemon that runs. Destroying it is a power cut.
class RunningDevice {
  public:
    RunningDevice(const DeviceOptions& options, const Site& site);

    // Calls act in the device, between two passes of its daemon.
    template <typename Act>
    auto run(Act&& act) {
        useDevice(device_);
        return std::forward<Act>(act)();
    }

  private:
    TestDevice device_;
};

// What a device can be asked to do, see RunningDevice::run.

// Passes of the daemon until one finds no frame to receive.
void step();
// The platform library reports a new text of the LED.
void changeLed();
// The sizes of all tables that the neighbors can make grow.
std::string tableSizes();

}  // namespace sim
