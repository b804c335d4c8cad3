// Installation of a firmware image on this device: verified here, written by the product's hook.
#include <chrono>
#include <utility>

#include "api.h"
#include "common/hook.h"
#include "common/log.h"
#include "netctrl/upgrade.h"

namespace plat {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kInstallHook = "firmware-install";
constexpr std::chrono::minutes kInstallLimit{10};
// A Registrar that was restarted meanwhile knows of no reboot; idle again, it orders anew.
constexpr std::chrono::minutes kRebootLimit{15};

struct Install {
    bool atWork = false;
    std::string path;
    Manifest manifest;
    std::optional<Digest> digest;  // while it is verified
    std::function<void(bool)> done;
    std::optional<Clock::time_point> installed;  // when, while the reboot is awaited
};
Install install;

void finish(bool installed) {
    setFirmwareState(installed ? PLATFORM_FW_REBOOT : PLATFORM_FW_FAILED);
    const auto done = std::exchange(install, {}).done;
    if (installed) install.installed = Clock::now();
    if (done) done(installed);
}

void startInstallHook() {
    PLAT_LOG(3, "firmware: version %s is verified, install it", install.manifest.version.c_str());
    const JobId job =
        startHook(kInstallHook, {install.path, install.manifest.version}, kInstallLimit,
                  [](int status, const std::string&) { finish(status == 0); });
    if (job == 0) finish(false);
}

}  // namespace

bool installImage(const std::string& path, const Manifest& manifest,
                  std::function<void(bool installed)> done) {
    if (install.atWork || !hasHook(kInstallHook)) {
        PLAT_LOG(1, "firmware: %s",
                 install.atWork ? "another image is being installed"
                                : "there is no hook firmware-install");
        return false;
    }
    install = {true, path, manifest, Digest::open(path), std::move(done), {}};
    if (!install.digest) {
        PLAT_LOG(1, "firmware: can't read %s", path.c_str());
        install = {};
        return false;
    }
    setFirmwareState(PLATFORM_FW_UPGRADE);
    return true;
}

void workOnInstall() {
    if (install.installed && firmwareState() != PLATFORM_FW_REBOOT) install.installed.reset();
    if (install.installed && Clock::now() - *install.installed > kRebootLimit) {
        install.installed.reset();
        setFirmwareState(PLATFORM_FW_IDLE);
    }
    if (!install.digest) return;
    const auto digest = install.digest->step();
    if (!digest) return;
    install.digest.reset();
    if (*digest == install.manifest.sha256) {
        startInstallHook();
    } else {
        PLAT_LOG(1, "firmware: %s does not match its manifest and is not installed",
                 install.path.c_str());
        finish(false);
    }
}

void dropInstall() {
    install = {};
}

}  // namespace plat
