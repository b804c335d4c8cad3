#include "netctrl/firmware_install.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <utility>

#include "base/own_folder.h"
#include "base/result.h"
#include "common/files.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/firmware_rounds.h"
#include "netctrl/firmware_state.h"
#include "netctrl/firmware_trust.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kInstallHook = "firmware-install";
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

std::string hexOf(const std::string& bytes) {
    return hexText({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()});
}

void startInstallHook() {
    const Installation& order = install.order;
    LOG_LINE(3, "firmware: version %s is verified, installing it", order.manifest.version.c_str());
    if (order.begin && !order.begin()) return finish(false);
    const auto done = [](int status, const std::string&) { finish(status == 0); };
    JobOptions options{.outlives = true, .in = install.lock.get()};
    JobId job = 0;
    if (isConfined()) {
        const Fd image(open(order.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
        const std::string signature = readSignature(order.path);
        options.file = image.get();
        options.name = "hook firmware-install";
        job = startJob("verified firmware",
                       {readManifest(order.path + std::string(kManifestSuffix)), hexOf(signature)},
                       std::move(options), done);
    } else {
        job =
            startHook(kInstallHook, {order.path, order.manifest.version}, std::move(options), done);
    }
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

// Makes a file root's and nobody else's. False if somebody has it open for writing: a lease for
// reading is granted only on a file without writers.
bool seize(const Fd& file) {
    return fchown(file.get(), 0, 0) == 0 && fchmod(file.get(), 0600) == 0 &&
           fcntl(file.get(), F_SETLEASE, F_RDLCK) == 0 &&
           fcntl(file.get(), F_SETLEASE, F_UNLCK) == 0;
}

// The SHA-256 of a file as in manifests.
std::string digestOf(Fd file) {
    auto digest = Digest::of(std::move(file));
    std::optional<std::string> result;
    while (digest && !result) result = digest->step();
    return result.value_or("");
}

// The standard output of a job is not the daemon's.
int refuse(const Refusal& why) {
    dprintf(STDERR_FILENO, "[vmNetCtrl] firmware: the helper refuses the image: %s\r\n",
            plainLine(why).c_str());
    return kFailure;
}

}  // namespace

int runInstall(const Arguments& args) {
    const auto signature = parseHex(args[1]);
    Refusal refusal;
    const auto manifest =
        checkManifest(args[0], std::string(signature->begin(), signature->end()), refusal);
    if (manifest) refusal = checkFits(*manifest);
    if (!refusal.empty()) return refuse(refusal);
    // The path also leads others of root to this very file, as long as this process lives.
    const std::string path =
        "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(kWorkFile);
    const std::string hook = safeHookFile(kInstallHook);
    struct stat before {};
    if (hook.empty()) return refuse("there is no hook firmware-install that only root can change");
    // Another file might be one of root's that the daemon can only read.
    if (fstat(kWorkFile, &before) != 0 || !S_ISREG(before.st_mode) ||
        before.st_uid != helperUser().user) {
        return refuse("it is no file of the daemon's user");
    }
    int status = kFailure;
    Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file || !seize(file)) {
        refusal = "somebody can change it";
    } else if (digestOf(std::move(file)) != manifest->sha256) {
        refusal = "its SHA-256 is another than in its manifest";
    } else if (const pid_t child = fork(); child == 0) {
        execl(hook.c_str(), hook.c_str(), path.c_str(), manifest->version.c_str(), nullptr);
        _exit(kFailure);
    } else if (child > 0) {
        waitpid(child, &status, 0);
        status = WIFEXITED(status) ? WEXITSTATUS(status) : int{kFailure};
    }
    // A Registrar may have to serve it again. Only the user's file may get back the user's mode.
    if (fchown(kWorkFile, before.st_uid, before.st_gid) == 0) {
        (void)fchmod(kWorkFile, before.st_mode & 0777);
    }
    return refusal.empty() ? status : refuse(refusal);
}

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
