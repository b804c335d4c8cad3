// A device of a test: the state of the daemon, a scripted platform library and cables of the test's
// making. Its slots are its own, and it has no wake FIFO. One is there from the start of the
// program.
#pragma once

#include "daemon/device_state.h"
#include "support/fake_platform.h"
#include "support/fake_raw_socket.h"

struct TestDevice {
    TestDevice();

    FakePlatform platform;
    FakeNet net;
    DeviceState state;  // goes first: its sockets are ends of the cables
};

// From now on every module works on this device, and fakePlatform() and fakeNet() are its own.
void useDevice(TestDevice& device);

// Throws away the device that this made before, with all that it knows, and uses a new one.
void freshDevice();
