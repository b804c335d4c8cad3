#include "netctrl/confinement.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "api.h"
#include "base/public_file.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/helper.h"
#include "common/log.h"
#include "netctrl/firmware_offer.h"

namespace {

// A folder with all files in it.
void handOverFolder(const std::string& folder, uid_t user, gid_t group) {
    handOver(folder, user, group);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        handOver(entry->path(), user, group);
    }
}

// The helper ignores them.
void nameUnsafeHooks() {
    for (const Program& program : programs()) {
        if (program.work != nullptr || access(hookFile(program.name).c_str(), F_OK) != 0) continue;
        if (!safeHookFile(program.name).empty()) continue;
        LOG_LINE(
            1,
            "%s is ignored: with CONFINE = 1, a hook must be an executable file, no link, and it "
            "and all folders above must belong to root and be writable by nobody else",
            hookFile(program.name).c_str());
    }
}

}  // namespace

int prepareConfinement(uint32_t user, uint32_t group) {
    reloadConf();
    if (user != 0) {
        if (makeOwnFolder()) handOverFolder(ownFolder(), user, group);
        handOverFolder(firmwareFolder(), user, group);
        const std::string log(conf().value("LOG_FILE"));
        if (!log.empty()) {
            (void)openOwnFile(log, O_WRONLY | O_APPEND | O_CREAT, 0640);
            handOver(log, user, group);
        }
    }
    nameUnsafeHooks();
    return startHelper(user, group) ? kOk : kFailure;
}

int restartDaemon() {
    const auto number = programNumber("restart");
    return number && startProgram({.program = *number, .out = STDOUT_FILENO}) != 0 ? kOk : kFailure;
}

int runAdopt(const Arguments& /*args*/) {
    const HelperUser user = helperUser();
    handOverFolder(firmwareFolder(), user.user, user.group);
    return kOk;
}

int runRestart(const Arguments& /*args*/) {
    constexpr const char* kDaemon = "/usr/sbin/vm1905";
    execl(kDaemon, kDaemon, "restart", nullptr);
    return kFailure;
}
