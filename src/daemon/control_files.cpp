#include "daemon/control_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>

#include "base/clock.h"
#include "base/fd.h"
#include "base/log.h"
#include "base/public_file.h"
#include "base/result.h"
#include "base/state.h"
#include "db/data_manager.h"
#include "db/options.h"
#include "db/sys_ctrl.h"

namespace {

constexpr const char* kFolder = "/tmp";
constexpr const char* kDebugFile = "/tmp/vm1905_debug";
constexpr time_t kSettled = 2;  // seconds after which a further change has a later time stamp

ControlFiles& module() {
    return stateOf<ControlFiles>();
}

bool exists(const char* path) {
    struct stat info {};
    return stat(path, &info) == 0;
}

// The time at which the folder last changed. Zero if that is so recent that a further change could
// have the same time stamp.
timespec lastChange() {
    struct stat info {};
    const bool settled = stat(kFolder, &info) == 0 && wallClock() - info.st_mtim.tv_sec >= kSettled;
    return settled ? info.st_mtim : timespec{};
}

bool isStillEmpty(const timespec& change) {
    return change.tv_sec != 0 && change.tv_sec == module().emptySince.tv_sec &&
           change.tv_nsec == module().emptySince.tv_nsec;
}

void cleanUp() {
    // Meant: this beginning does not match the control files, which act until the operator deletes
    // them.
    removePublicFiles(kFolder, "vm905_");
}

int stop() {
    cleanUp();
    setSysState(kStopped);
    return kOk;
}

int restart() {
    module().g_restart_flag = 1;
    return stop();
}

int enableTopol() {
    cleanUp();
    LOG_PUTS(3, "enable the 1905.1 network topology capabilities\r");
    return enableNetTopol();
}

int disableTopol() {
    cleanUp();
    LOG_PUTS(3, "disable the 1905.1 network topology capabilities\r");
    return disableNetTopol();
}

int readDebugLevel() {
    // O_NONBLOCK: a FIFO of that name must not block the daemon.
    Fd fd(open(kDebugFile, O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) {
        LOG(2, "can't open file: %s\r\n", kDebugFile);
        return kFailure;
    }
    char text[2] = {};
    if (read(fd.get(), text, 1) == 1) {
        const auto level = static_cast<uint8_t>(atoi(text));
        LOG(4, "set debug level to %d from the script cmd\r\n", level);
        setDebugLevelOption(level);
        setDebugLevel(level);
    }
    cleanUp();
    return kOk;
}

struct ControlFile {
    const char* path;
    int (*obey)();
};

// In the order in which they are handled.
constexpr ControlFile kControlFiles[] = {
    {"/tmp/vm1905_stop", stop},
    {"/tmp/vm1905_restart", restart},
    {"/tmp/vm1905_enableTopol", enableTopol},
    {"/tmp/vm1905_disableTopol", disableTopol},
    {kDebugFile, readDebugLevel},
};

}  // namespace

bool restartRequested() {
    return module().g_restart_flag == 1;
}

int checkScriptCmd() {
    const timespec change = lastChange();
    if (isStillEmpty(change)) return kOk;
    module().emptySince = change;
    for (const auto& file : kControlFiles) {
        if (!exists(file.path)) continue;
        module().emptySince = {};
        if (const int result = file.obey(); result != kOk) return result;
    }
    return kOk;
}
