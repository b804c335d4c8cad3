// What the daemon offers to the library, for targets that have no daemon.
#include "platform/exports.h"

uint32_t getUnsyncedEnrollees(uint8_t, uint8_t*, uint32_t) {
    return 0;
}
int loadState(const char*, char*, uint32_t) {
    return 16;
}
int saveState(const char*, const char*) {
    return 16;
}
int checkEXdeviceFWVersion(int32_t) {
    return 16;
}
int checkEXdeviceFWStateIsReady() {
    return 16;
}
int sendEXdeviceReboot() {
    return 16;
}
int removeallFWupgradelist() {
    return 0;
}
int rebootSystem() {
    return 16;
}
