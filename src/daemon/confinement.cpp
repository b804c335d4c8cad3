#include "daemon/confinement.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/claimed_name.h"
#include "base/fd.h"
#include "base/log.h"
#include "base/result.h"
#include "base/service_manager.h"
#include "base/shell.h"
#include "base/state.h"
#include "daemon/control_files.h"
#include "daemon/own_names.h"
#include "db/options.h"
#include "db/sys_ctrl.h"
#include "handlers/message_log.h"
#include "platform/confinement.h"

// The platform library may lack them.
extern "C" {
decltype(prepareConfinement) prepareConfinement __attribute__((weak));
decltype(limitSystemCalls) limitSystemCalls __attribute__((weak));
decltype(restartDaemon) restartDaemon __attribute__((weak));
}

namespace {

Confinement& module() {
    return stateOf<Confinement>();
}

constexpr uint64_t bit(int capability) {
    return uint64_t{1} << capability;
}

// The capabilities that this process has or may have.
uint64_t rights() {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    __user_cap_data_struct data[2] = {};
    if (syscall(SYS_capget, &header, data) != 0) return 0;
    return uint64_t{data[1].permitted} << 32 | data[0].permitted;
}

bool setRights(uint64_t kept) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const auto low = static_cast<uint32_t>(kept), high = static_cast<uint32_t>(kept >> 32);
    __user_cap_data_struct data[2] = {{low, low, 0}, {high, high, 0}};
    return syscall(SYS_capset, &header, data) == 0;
}

struct Right {
    int capability;
    const char* lack;  // what it leads to
};

constexpr Right kRights[] = {
    {CAP_NET_RAW, "CAP_NET_RAW is missing: no port can be opened\r"},
    {CAP_NET_ADMIN,
     "CAP_NET_ADMIN is missing: interfaces cannot be switched on and off, nor told to accept "
     "multicasts\r"},
    {CAP_SYS_BOOT, "CAP_SYS_BOOT is missing: this device cannot be rebooted\r"},
};

bool isWanted(const Right& right) {
    return right.capability != CAP_SYS_BOOT || getEnableRebootFromNbrOption() == 1;
}

std::string inConfFolder(const char* name) {
    return std::string(getSysCtrl().g_conf_folder.view()) + "/" + name;
}

bool becomeUser() {
    const gid_t group = module().group;
    const uid_t user = module().user;
    return prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0) == 0 && setgroups(1, &group) == 0 &&
           setresgid(group, group, group) == 0 && setresuid(user, user, user) == 0;
}

// So that not even a program that root may run gets more than these. Needs CAP_SETPCAP, without
// which what has started the daemon must have done the same.
void limitBoundingSet(uint64_t kept) {
    for (int capability = 0; prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; capability++) {
        if ((kept & bit(capability)) == 0) (void)prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
    }
}

// Not through the shell: the service manager must know the process before this one ends.
int startAsMainProcess() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return kFailure;
    const Fd reader(ends[0]);
    Fd writer(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        (void)signal(SIGPIPE, SIG_DFL);
        becomeNextDaemon();
        _exit(EXIT_FAILURE);
    }
    writer = Fd();
    if (child > 0) awaitNextDaemon(reader.get());
    return child > 0 ? kOk : kFailure;
}

}  // namespace

int initConfinement() {
    const uint64_t have = rights();
    for (const Right& right : kRights) {
        if (isWanted(right) && (have & bit(right.capability)) == 0) LOG_PUTS(1, right.lack);
    }
    const char* const name = getRunAsOption();
    if (!getConfineOption()) {
        LOG_PUTS(1, "CONFINE is neither 0 nor 1\r");
        return kFailure;
    }
    if (!*getConfineOption()) {
        if (*name != '\0') LOG_PUTS(1, "RUN_AS is ignored without CONFINE = 1\r");
        return kOk;
    }
    if (prepareConfinement == nullptr || limitSystemCalls == nullptr || restartDaemon == nullptr) {
        LOG_PUTS(1,
                 "CONFINE is set, but the platform library cannot run programs for a confined "
                 "daemon\r");
        return kFailure;
    }
    if (*name == '\0') return kOk;
    const passwd* const user = getpwnam(name);
    if (user == nullptr || user->pw_uid == 0) {
        LOG(1, "RUN_AS: there is no user %s other than root\r\n", name);
        return kFailure;
    }
    if ((have & bit(CAP_SETUID)) == 0 || (have & bit(CAP_SETGID)) == 0) {
        LOG(1, "CAP_SETUID or CAP_SETGID is missing: the daemon cannot run as %s\r\n", name);
        return kFailure;
    }
    module() = {user->pw_uid, user->pw_gid};
    getSysCtrl().user = user->pw_uid;
    // The folder above stays root's, since it may hold the hooks.
    const std::string state = inConfFolder("state");
    (void)mkdir(state.c_str(), 0700);
    stateOf<MessageLog>().folder = state;
    return kOk;
}

int claimNamesForUser() {
    const bool isOther = module().user != 0;
    return claimNames(isOther ? module().user : geteuid(), isOther ? module().group : getegid());
}

int giveUpRights() {
    if (getConfineOption() != true) return kOk;
    if (module().user != 0) {
        (void)handOver(inConfFolder("mesh_key_used"), {module().user, module().group});
    }
    if (prepareConfinement(module().user, module().group) != kOk) return kFailure;
    uint64_t kept = 0;
    for (const Right& right : kRights) {
        if (isWanted(right)) kept |= bit(right.capability);
    }
    kept &= rights();
    (void)prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    limitBoundingSet(kept);
    if ((module().user != 0 && !becomeUser()) || !setRights(kept) ||
        prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) != 0) {
        LOG(1, "can't give up rights: %s\r\n", strerror(errno));
        return kFailure;
    }
    stateOf<ControlFiles>().user = geteuid();
    LOG(3, "confined: user %d, capabilities 0x%llx\r\n", static_cast<int>(geteuid()),
        static_cast<unsigned long long>(kept));
    return kOk;
}

int closeConfinement() {
    if (getConfineOption() != true) return kOk;
    const int result = limitSystemCalls();
    if (result != PLATFORM_FILTER_MISSING) return result;
    LOG_PUTS(2,
             "the platform library was built without libseccomp: system calls are not limited\r");
    return kOk;
}

int startNextDaemon() {
    if (getConfineOption() != true) {
        return hasServiceManager() ? startAsMainProcess()
                                   : runShell("%s restart &", "/usr/sbin/vm1905");
    }
    if (restartDaemon() == kOk) return kOk;
    LOG_PUTS(1, "can't start the next daemon\r");
    return kFailure;
}
