#include "netctrl/firmware_install.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "common/hook.h"
#include "common/log.h"
#include "netctrl/firmware_fetch.h"
#include "netctrl/firmware_rounds.h"
#include "netctrl/firmware_state.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kInstallHook = "firmware-install";
constexpr std::chrono::minutes kInstallLimit{10};
// A Registrar that was restarted meanwhile knows of no reboot; idle again, it orders anew. Until
// then one that had to wait for others comes back to it.
constexpr auto kRebootLimit = 2 * UpgradeRounds::kRetry;

struct {
    Installation order;
    std::optional<Stamp> stamp;
    std::optional<Digest> digest;                // while it is verified
    Fd lock{};                                   // while it is at work
    std::optional<Clock::time_point> installed;  // when, while the reboot is awaited
} install;

std::string lockFile() {
    return downloadFolder() + "/vm1905_firmware.lock";
}

// Also held by the hook as its standard input, which is empty: so it is known to be at work when
// the daemon that started it is not any more. Without a descriptor when another one holds it.
Fd takeLock() {
    struct stat status {};
    // Who else may write into the folder must not be able to forbid upgrades.
    if (lstat(lockFile().c_str(), &status) == 0 && status.st_uid != geteuid()) {
        remove(lockFile().c_str());
    }
    Fd lock(open(lockFile().c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, 0600));
    if (!lock || flock(lock.get(), LOCK_EX | LOCK_NB) != 0) return Fd();
    return lock;
}

void finish(bool installed) {
    unlink(lockFile().c_str());
    setFirmwareState(installed ? PLATFORM_FW_REBOOT : PLATFORM_FW_FAILED);
    const auto done = std::exchange(install, {}).order.done;
    if (installed) install.installed = Clock::now();
    if (done) done(installed);
}

void startInstallHook() {
    const Installation& order = install.order;
    LOG_LINE(3, "firmware: version %s is verified, install it", order.manifest.version.c_str());
    if (order.begin && !order.begin()) return finish(false);
    const JobId job =
        startHook(kInstallHook, {order.path, order.manifest.version},
                  {.limit = kInstallLimit, .outlives = true, .in = install.lock.get()},
                  [](int status, const std::string&) { finish(status == 0); });
    if (job == 0) finish(false);
}

void verified(const std::string& digest) {
    const Installation& order = install.order;
    install.digest.reset();
    // The hook opens the path anew, which must still lead to what was read.
    if (digest == order.manifest.sha256 && install.stamp == stampOf(order.path)) {
        return startInstallHook();
    }
    LOG_LINE(1, "firmware: %s does not match its manifest and is not installed",
             order.path.c_str());
    finish(false);
}

}  // namespace

bool installImage(Installation order) {
    if (!hasHook(kInstallHook)) {
        LOG_LINE(1, "firmware: there is no hook firmware-install");
        return false;
    }
    Fd lock = takeLock();
    if (!lock) {
        LOG_LINE(1, "firmware: another image is being installed, or %s can't be made",
                 lockFile().c_str());
        return false;
    }
    const auto stamp = stampOf(order.path);
    auto digest = stamp ? Digest::open(order.path) : std::nullopt;
    if (!digest) {
        LOG_LINE(1, "firmware: can't read %s", order.path.c_str());
        unlink(lockFile().c_str());
        return false;
    }
    install = {std::move(order), stamp, std::move(digest), std::move(lock), {}};
    setFirmwareState(PLATFORM_FW_UPGRADE);
    return true;
}

bool isInstallFree() {
    const Fd lock = takeLock();
    if (lock) unlink(lockFile().c_str());
    return static_cast<bool>(lock);
}

bool isInstalling() {
    return install.lock && !install.digest;
}

bool workOnInstall() {
    if (install.installed && firmwareState() != PLATFORM_FW_REBOOT) install.installed.reset();
    if (install.installed && Clock::now() - *install.installed > kRebootLimit) {
        install.installed.reset();
        setFirmwareState(PLATFORM_FW_IDLE);
    }
    if (!install.digest) return false;
    if (const auto digest = install.digest->step()) verified(*digest);
    return true;
}

void dropInstall() {
    if (!isInstalling() && install.lock) unlink(lockFile().c_str());
    install = {};
}
