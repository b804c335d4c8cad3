// Replaces the shell and the reboot of the machine, which must not leave the test.
#include "support/fake_platform.h"

extern "C" int reboot(int) noexcept {
    fakePlatform().calls.emplace_back("reboot");
    return 0;
}
extern "C" int system(const char* command) {
    if (command != nullptr) fakePlatform().commands.emplace_back(command);
    if (fakePlatform().onCommand) fakePlatform().onCommand();
    return 0;
}
