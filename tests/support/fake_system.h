// Stands in for what would leave the test: the shell and the reboot of the machine. To link it is
// to replace them.
#pragma once

#include <functional>
#include <string>
#include <vector>

struct FakeSystem {
    std::vector<std::string> commands;  // handed to the shell, in order
    int reboots = 0;
    std::function<void()> onReboot;
};

FakeSystem& fakeSystem();
