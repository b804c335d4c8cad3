#include "netctrl/firmware_install.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "base/own_folder.h"
#include "common/files.h"
#include "common/hook.h"
#include "common/log.h"
#include "netctrl/firmware_rounds.h"
#include "netctrl/firmware_state.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kInstallHook = "firmware-install";
constexpr std::chrono::minutes kInstallLimit{10};
// Longer than a Registrar may take for devices that had to wait for others. If it was restarted it
// has forgotten the reboot, but orders this device again once it is Idle.
constexpr auto kRebootLimit = 2 * UpgradeRounds::kRetry;

struct {
    Installation order;
    std::optional<Stamp> stamp;
    std::optional<Digest> digest;                // during verification
    Fd lock{};                                   // held until the end
    std::optional<Clock::time_point> installed;  // when; while waiting for the reboot
} install;

std::string lockFile() {
    return ownFolder() + "/firmware.lock";
}

// The hook holds the lock, too, as its empty standard input, so that it is known to be running even
// after the daemon that started it has gone. An empty Fd if another process holds the lock.
Fd takeLock() {
    if (!makeOwnFolder()) return Fd();
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
    LOG_LINE(3, "firmware: version %s is verified, installing it", order.manifest.version.c_str());
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
    // The hook will open the path again, so it must still be the file that was read.
    if (digest == order.manifest.sha256 && install.stamp == stampOf(order.path)) {
        return startInstallHook();
    }
    LOG_LINE(1, "firmware: %s is not installed: its SHA-256 is another than in its manifest",
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
