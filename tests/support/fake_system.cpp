#include "support/fake_system.h"

extern "C" int reboot(int) noexcept {
    fakeSystem().reboots++;
    if (fakeSystem().onReboot) fakeSystem().onReboot();
    return 0;
}

extern "C" int system(const char* command) {
    if (command != nullptr) fakeSystem().commands.emplace_back(command);
    return 0;
}
