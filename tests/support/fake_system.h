// Replaces the shell and the reboot of the machine, which must not leave the test, in every program
// that links fake_system.cpp.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct FakeSystem {
    std::vector<std::string> commands;  // handed to the shell, in order
    int reboots = 0;
    std::function<void()> onReboot;  // called by every reboot
};

// Of the device in use (test_device.h).
FakeSystem& fakeSystem();
