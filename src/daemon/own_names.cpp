#include "daemon/own_names.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "base/claimed_name.h"
#include "base/clock.h"
#include "base/log.h"
#include "base/own_folder.h"
#include "base/public_file.h"
#include "base/result.h"
#include "base/state.h"
#include "controller/root_ap.h"
#include "db/options.h"
#include "db/sys_ctrl.h"
#include "handlers/result_file.h"
#include "orders/slots.h"
#include "platform/lifecycle.h"
#include "publish/web_copy.h"
#include "service/wake_fifo.h"

// The platform library may lack it.
extern "C" decltype(claimPlatformFiles) claimPlatformFiles __attribute__((weak));

namespace {

constexpr unsigned kPause = 50;  // milliseconds

OwnNames& module() {
    return stateOf<OwnNames>();
}

void logClaim(const std::string& line) {
    LOG(1, "%s\r\n", line.c_str());
}

// One byte of the file stands for each IPC namespace, because each may have a daemon.
struct flock lockOfNamespace() {
    struct stat space {};
    (void)stat("/proc/self/ns/ipc", &space);
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_start = static_cast<off_t>(space.st_ino);
    lock.l_len = 1;
    return lock;
}

// Opens the lock. No file is opened that a stranger may have made to pass for a daemon.
Fd openLock(int flags, const Owner& owner) {
    const auto folderOwner = ownFolderOwner();
    if (!folderOwner) return {};
    const std::string path = ownFolder() + "/daemon.lock";
    Fd file(open(path.c_str(), flags | O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
    struct stat info {};
    const bool isTrusted = file && fstat(file.get(), &info) == 0 && S_ISREG(info.st_mode) &&
                           info.st_nlink == 1 &&
                           (info.st_uid == owner.user || mayMakeChannel(info.st_uid));
    return isTrusted ? std::move(file) : Fd();
}

// The process of another daemon: by the lock, which ends with its process and which its children do
// not have, or by the segments, if its own folder is another one. 0 if there is none, negative if
// it is in another PID namespace.
pid_t otherDaemon(const Owner& owner) {
    const Fd file = openLock(0, owner);
    struct flock lock = lockOfNamespace();
    if (file && fcntl(file.get(), F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK) {
        return lock.l_pid > 0 ? lock.l_pid : -1;
    }
    return findOtherDaemon(owner);
}

void makeOwnFolder(const Owner& owner) {
    const std::string folder = ownFolder();
    claimFolder(folder, owner, logClaim);
    (void)mkdir(folder.c_str(), 0755);
    if (!ownFolderOwner() || !handOverFolder(folder, owner)) {
        LOG(2, "(%s) is no safe folder of user %u, a second daemon may go unnoticed\r\n",
            folder.c_str(), owner.user);
    }
}

// Says in the lock file which version runs in this process, for vm1905ctl. No other user may read
// the file, because who can open it can also lock it.
void writeVersion() {
    const int file = module().lock.get();
    const std::string line = std::to_string(getpid()) + " " VM1905_VERSION "\n";
    if (ftruncate(file, 0) == 0) (void)!pwrite(file, line.data(), line.size(), 0);
}

// Takes the lock. 0, or the other daemon that has it or took it at the same moment. After the lock
// is taken, nothing in this process may open the file, because closing it would release the lock.
pid_t takeLock(const Owner& owner) {
    for (;;) {
        if (const pid_t other = otherDaemon(owner); other != 0) return other;
        makeOwnFolder(owner);
        module().lock = openLock(O_CREAT, owner);
        if (!module().lock) return 0;
        (void)!fchown(module().lock.get(), owner.user, owner.group);
        struct flock lock = lockOfNamespace();
        if (fcntl(module().lock.get(), F_SETLK, &lock) == 0) {
            writeVersion();
            return 0;
        }
        if (errno != EAGAIN && errno != EACCES) return 0;
    }
}

void claimFiles(const Owner& owner) {
    const std::string model = getDataModelFolderOption();
    claimFolder(model, owner, logClaim);
    for (const char* name : {"/vm1905.json", "/vm1905_APautoconfig.json", "/vm1905_log.json"}) {
        claimFile(model + name, owner, getDataModelModeOption(), logClaim);
    }
    makeWebFolder(owner, logClaim);
    for (const char* name : {"/ROOTAP_MESH_MAC", "/rootap_ip"}) {
        claimFile(stateOf<RootAp>().folder + name, owner, {}, logClaim);
    }
    claimFolder(stateOf<ResultFiles>().folder, owner, logClaim);
    claimFile(module().folder + "/vm1905_client.lock", owner, 0666, logClaim);
    // Others cannot write to the configuration folder, so what is in it is ours.
    const std::string state = std::string(getSysCtrl().g_conf_folder.view()) + "/state";
    if (access(state.c_str(), F_OK) == 0 && !handOverFolder(state, owner)) {
        LOG(1, "can't give %s to user %u\r\n", state.c_str(), owner.user);
    }
    if (claimPlatformFiles != nullptr) claimPlatformFiles(owner.user, owner.group);
}

}  // namespace

int claimNames(uid_t user, gid_t group) {
    const Owner owner{user, group};
    pid_t other = takeLock(owner);
    for (unsigned waited = 0; other != 0 && waited < module().patience; waited += kPause) {
        sleepMicroseconds(kPause * 1000);
        other = takeLock(owner);
    }
    if (other != 0) {
        const std::string which =
            other > 0 ? "process " + std::to_string(other) : "in another PID namespace";
        LOG(1, "another daemon runs here already (%s), this one ends\r\n", which.c_str());
        return kFailure;
    }
    if (claimSlots(owner) != kOk) return kFailure;
    claimWakeFifo(owner, logClaim);
    claimFiles(owner);
    return kOk;
}
