#include "core/control_files.h"

#include <sys/stat.h>

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/log.h"
#include "core/options.h"
#include "core/result.h"
#include "core/shell.h"
#include "core/sys_ctrl.h"
#include "topology/data_manager.h"

namespace {

constexpr const char* kDebugFile = "/tmp/vm1905_debug";

int g_restart_flag = 0;

bool exists(const char* path) {
    struct stat info {};
    return stat(path, &info) == 0;
}

void cleanUp() {
    // Meant: the pattern does not match the control files, which act until somebody deletes them.
    (void)runShell("%s%s", "rm -rf ", "/tmp/vm905_*");
}

int readDebugLevel() {
    const std::unique_ptr<FILE, decltype(&fclose)> file(fopen(kDebugFile, "re"), fclose);
    if (!file) {
        LOG(2, "can't open file: %s\r\n", kDebugFile);
        return kFailure;
    }
    char text[2] = {};
    if (fgets(text, sizeof text, file.get()) != nullptr) {
        const auto level = static_cast<uint8_t>(atoi(text));
        LOG(4, "set debug level to %d from the script cmd\r\n", level);
        (void)setDebugLevelOption(level);
        (void)setDebugLevel(level);
    }
    return kOk;
}

}  // namespace

bool restartRequested() {
    return g_restart_flag == 1;
}

int checkScriptCmd() {
    if (exists("/tmp/vm1905_stop")) {
        cleanUp();
        setSysState(kStopped);
    }
    if (exists("/tmp/vm1905_restart")) {
        cleanUp();
        g_restart_flag = 1;
        setSysState(kStopped);
    }
    if (exists("/tmp/vm1905_enableTopol")) {
        cleanUp();
        LOG_PUTS(3, "enable the 1905.1 network topology capabilities\r");
        (void)enableNetTopol();
    }
    if (exists("/tmp/vm1905_disableTopol")) {
        cleanUp();
        LOG_PUTS(3, "disable the 1905.1 network topology capabilities\r");
        (void)disableNetTopol();
    }
    if (exists(kDebugFile)) {
        const int result = readDebugLevel();
        if (result != kOk) return result;
        cleanUp();
    }
    return kOk;
}
