#include "netctrl/firmware_install.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/own_folder.h"
#include "base/result.h"
#include "common/files.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/firmware_fetch.h"
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

// Copies the image into a file that nobody else can open, which replaces it as the work's file.
Refusal copyImage(uint64_t size) {
    std::string name = downloadFolder() + "/vm1905_image.XXXXXX";
    const Fd copy(mkostemp(name.data(), O_CLOEXEC));
    struct stat info {};
    if (!copy) return "no file can be made in FIRMWARE_DOWNLOAD: " + std::string(strerror(errno));
    unlink(name.c_str());
    // On a file system without users it may be another user's.
    if (fstat(copy.get(), &info) != 0 || info.st_uid != geteuid() || (info.st_mode & 077) != 0) {
        return "others can change the files in FIRMWARE_DOWNLOAD";
    }
    const auto end = static_cast<off_t>(size);
    for (off_t at = 0; at < end;) {
        if (sendfile(copy.get(), kWorkFile, &at, static_cast<size_t>(end - at)) <= 0) {
            return "it can't be copied: it is too short, or FIRMWARE_DOWNLOAD is full";
        }
    }
    return dup2(copy.get(), kWorkFile) < 0 ? strerror(errno) : "";
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
    if (hook.empty()) return refuse("there is no hook firmware-install that only root can change");
    // From here on, nobody can change what is verified. The image itself could be changed at any
    // time, even through a mapping of a file that has been closed.
    refusal = copyImage(manifest->size);
    if (!refusal.empty()) return refuse(refusal);
    if (digestOf(Fd(open(path.c_str(), O_RDONLY | O_CLOEXEC))) != manifest->sha256) {
        return refuse("its SHA-256 is another than in its manifest");
    }
    int status = kFailure;
    const pid_t child = fork();
    if (child == 0) {
        execl(hook.c_str(), hook.c_str(), path.c_str(), manifest->version.c_str(), nullptr);
        _exit(kFailure);
    }
    if (child > 0) waitpid(child, &status, 0);
    return child > 0 && WIFEXITED(status) ? WEXITSTATUS(status) : int{kFailure};
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
