// A device in a test: the state of the daemon, a scripted platform, simulated cables, and no access
// to the shell. It has service slots of its own, no wake FIFO and no folder for files. Every test
// program starts with one device.
#pragma once

#include "daemon/device_state.h"
#include "support/fake_platform.h"
#include "support/fake_raw_socket.h"

struct TestDevice {
    TestDevice();

    FakePlatform platform;
    FakeNet net;
    DeviceState state;  // destroyed first: its sockets are ends of the cables
};

// Makes all modules use this device. fakePlatform() and fakeNet() return its parts.
void useDevice(TestDevice& device);

// Uses a new device and destroys the one that the previous call created.
void freshDevice();
