#include "daemon/control_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>

#include "base/clock.h"
#include "base/fd.h"
#include "base/log.h"
#include "base/public_file.h"
#include "base/result.h"
#include "base/service_manager.h"
#include "base/state.h"
#include "db/data_manager.h"
#include "db/options.h"
#include "db/sys_ctrl.h"

namespace {

constexpr time_t kSettled = 2;  // seconds after which a further change has a later time stamp

ControlFiles& module() {
    return stateOf<ControlFiles>();
}

// True if the file exists and is obeyed. Logs one that is ignored, once until it is gone.
bool isObeyed(const std::string& name, const std::string& path) {
    struct stat info {};
    if (!getControlFilesOfOwnerOption()) return stat(path.c_str(), &info) == 0;
    auto& ignored = module().ignored;
    if (lstat(path.c_str(), &info) != 0) {
        ignored.erase(name);
        return false;
    }
    // A second link may be somebody's name for a file of root.
    if (S_ISREG(info.st_mode) && info.st_nlink == 1 &&
        (info.st_uid == 0 || info.st_uid == module().user)) {
        return true;
    }
    module().emptySince = {};
    if (ignored.insert(name).second) {
        LOG(1, "%s is ignored: it is not a file of root or the daemon's user\r\n", path.c_str());
    }
    return false;
}

// The time at which the folder last changed. Zero if that is so recent that a further change could
// have the same time stamp.
timespec lastChange() {
    struct stat info {};
    const bool settled =
        stat(module().folder.c_str(), &info) == 0 && wallClock() - info.st_mtim.tv_sec >= kSettled;
    return settled ? info.st_mtim : timespec{};
}

bool isStillEmpty(const timespec& change) {
    return change.tv_sec != 0 && change.tv_sec == module().emptySince.tv_sec &&
           change.tv_nsec == module().emptySince.tv_nsec;
}

void cleanUp() {
    // Meant: this beginning does not match the control files, which act until the operator deletes
    // them.
    removePublicFiles(module().folder, "vm905_");
}

int stop(const std::string& path) {
    if (!module().hasLooked) {
        LOG(1, "%s is left over from before the start, the daemon ends\r\n", path.c_str());
    }
    cleanUp();
    setSysState(kStopped);
    return kOk;
}

// Whether this file has already led to the restart that started this daemon. A daemon without
// rights cannot remove it.
bool isLeftOver(const std::string& path) {
    struct stat info {};
    if (!hasServiceManager() || stat(path.c_str(), &info) != 0) return false;
    const std::pair<time_t, long> touched{info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
    if (!module().hasLooked) module().leftOver = touched;
    return touched == module().leftOver;
}

int restart(const std::string& path) {
    if (isLeftOver(path)) return kOk;
    module().g_restart_flag = 1;
    return stop(path);
}

int enableTopol(const std::string& /*path*/) {
    cleanUp();
    LOG_PUTS(3, "enable the 1905.1 network topology capabilities\r");
    return enableNetTopol();
}

int disableTopol(const std::string& /*path*/) {
    cleanUp();
    LOG_PUTS(3, "disable the 1905.1 network topology capabilities\r");
    return disableNetTopol();
}

int readDebugLevel(const std::string& path) {
    // O_NONBLOCK: a FIFO of that name must not block the daemon.
    Fd fd(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    if (!fd) {
        LOG(2, "can't open file: %s\r\n", path.c_str());
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
    const char* name;
    int (*obey)(const std::string& path);
};

// In the order in which they are handled.
constexpr ControlFile kControlFiles[] = {
    {"vm1905_stop", stop},
    {"vm1905_restart", restart},
    {"vm1905_enableTopol", enableTopol},
    {"vm1905_disableTopol", disableTopol},
    {"vm1905_debug", readDebugLevel},
};

}  // namespace

bool restartRequested() {
    return module().g_restart_flag == 1;
}

int checkScriptCmd() {
    const timespec change = lastChange();
    if (isStillEmpty(change)) return kOk;
    module().emptySince = change;
    int result = kOk;
    for (const auto& file : kControlFiles) {
        const std::string path = module().folder + "/" + file.name;
        if (!isObeyed(file.name, path)) continue;
        module().emptySince = {};
        result = file.obey(path);
        if (result != kOk) break;
    }
    module().hasLooked = true;
    return result;
}
