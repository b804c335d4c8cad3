#include "netctrl/confinement.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>

#include "api.h"
#include "base/claimed_name.h"
#include "base/fd.h"
#include "base/result.h"
#include "base/service_manager.h"
#include "common/conf.h"
#include "common/helper.h"
#include "common/log.h"
#include "crypto/crypto.h"
#include "netctrl/autoconfig_networks.h"
#include "netctrl/firmware_offer.h"
#include "netctrl/firmware_trust.h"
#include "netctrl/wifi_file.h"

namespace {

// The images that have a manifest, and where the daemon notes what it has installed. The folder
// itself stays root's, and so does everything else in it.
void handOverImages(const HelperUser& user) {
    const std::string folder = firmwareFolder();
    const auto give = [&](const std::string& path, std::optional<mode_t> mode = {}) {
        (void)handOver(path, {user.user, user.group}, mode);
    };
    give(folder + "/.installed", 0644);
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::string manifest = entry->path();
        if (!manifest.ends_with(kManifestSuffix)) continue;
        give(manifest);
        give(manifest + std::string(kSignatureSuffix));
        give(manifest.substr(0, manifest.size() - kManifestSuffix.size()));
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
    if (!reloadConf()) return kFailure;
    openWifiFile();
    recallNetworks();
    if (user != 0) {
        const std::string log(conf().value("LOG_FILE"));
        if (!log.empty() && !log.starts_with("/tmp/")) {
            if (!handOver(log, {user, group}, 0640)) {
                LOG_LINE(1,
                         "user %u cannot write LOG_FILE %s: it must be a file with one name, in a "
                         "folder to which only root can write",
                         user, log.c_str());
            }
        }
        handOverImages({user, group});
        (void)crypto();  // later its module may be out of reach
    }
    nameUnsafeHooks();
    return startHelper(user, group) ? kOk : kFailure;
}

int restartDaemon() {
    const auto number = programNumber("restart");
    int ends[2];
    if (!number || pipe2(ends, O_CLOEXEC) != 0) return kFailure;
    const Fd reader(ends[0]);
    Fd writer(ends[1]);
    const Launch launch{.program = *number, .out = STDOUT_FILENO, .file = writer.get()};
    if (startProgram(launch) == 0) return kFailure;
    writer = Fd();
    awaitNextDaemon(reader.get());
    return kOk;
}

int runAdopt(const Arguments& /*args*/) {
    if (helperUser().user != 0) handOverImages(helperUser());
    return kOk;
}

int runRestart(const Arguments& /*args*/) {
    (void)fcntl(kWorkFile, F_SETFD, FD_CLOEXEC);
    becomeNextDaemon();
    return kFailure;
}
