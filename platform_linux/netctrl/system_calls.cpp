#include "netctrl/system_calls.h"

#include "api.h"
#include "base/result.h"
#include "common/log.h"

#ifdef VM1905_HAS_SECCOMP

#include <linux/ethtool.h>
#include <linux/sockios.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <cerrno>
#include <memory>
#include <span>
#include <type_traits>

namespace {

// What a process, the C library and the sanitizers use after the start. Several names for the same
// thing are those of different machines and C libraries. Nothing here or in the lists below starts
// a program, makes a process or a thread, changes users or capabilities, or mounts anything.
constexpr const char* kCommon[] = {
    // Memory, time, itself
    "brk",
    "mmap",
    "mmap2",
    "munmap",
    "mremap",
    "mprotect",
    "madvise",
    "futex",
    "futex_time64",
    "set_robust_list",
    "rseq",
    "membarrier",
    "sigaltstack",
    "rt_sigaction",
    "rt_sigprocmask",
    "rt_sigreturn",
    "sigreturn",
    "restart_syscall",
    "exit",
    "exit_group",
    "sched_yield",
    "sched_getaffinity",
    "getrandom",
    "getpid",
    "getppid",
    "gettid",
    "getuid",
    "geteuid",
    "getgid",
    "getegid",
    "getuid32",
    "geteuid32",
    "getgid32",
    "getegid32",
    "uname",
    "sysinfo",
    "getrusage",
    "getrlimit",
    "ugetrlimit",
    "prlimit64",
    "times",
    "time",
    "gettimeofday",
    "clock_gettime",
    "clock_gettime64",
    "clock_getres",
    "clock_getres_time64",
    "nanosleep",
    "clock_nanosleep",
    "clock_nanosleep_time64",
    "cacheflush",
    "umask",
    // Waiting
    "select",
    "_newselect",
    "pselect6",
    "pselect6_time64",
    "poll",
    "ppoll",
    "ppoll_time64",
};

// The daemon and the library.
constexpr const char* kDaemon[] = {
    // Files
    "open",
    "openat",
    "close",
    "read",
    "pread64",
    "readv",
    "write",
    "pwrite64",
    "writev",
    "lseek",
    "_llseek",
    "stat",
    "lstat",
    "fstat",
    "stat64",
    "lstat64",
    "fstat64",
    "newfstatat",
    "fstatat64",
    "statx",
    "access",
    "faccessat",
    "faccessat2",
    "readlink",
    "readlinkat",
    "getcwd",
    "getdents",
    "getdents64",
    "statfs",
    "statfs64",
    "fstatfs",
    "fstatfs64",
    "fcntl",
    "fcntl64",
    "flock",
    "fsync",
    "fdatasync",
    "sync",
    "ftruncate",
    "ftruncate64",
    "mkdir",
    "mkdirat",
    "rmdir",
    "rename",
    "renameat",
    "renameat2",
    "link",
    "linkat",
    "unlink",
    "unlinkat",
    "chmod",
    "fchmod",
    "fchmodat",
    "fchown",
    "fchown32",
    "dup",
    "pipe",
    "pipe2",
    "memfd_create",
    "shmdt",
    "shmctl",
    // Sockets
    "bind",
    "connect",
    "getsockname",
    "getpeername",
    "getsockopt",
    "setsockopt",
    "send",
    "sendto",
    "sendmsg",
    "sendmmsg",
    "recv",
    "recvfrom",
    "recvmsg",
    "recvmmsg",
    "recvmmsg_time64",
    // Without CAP_SYS_BOOT it fails.
    "reboot",
};

// The server of images, which has open what it needs.
constexpr const char* kServer[] = {"accept",     "accept4",  "recv",       "recvfrom", "send",
                                   "sendto",     "sendfile", "sendfile64", "fstat",    "fstat64",
                                   "newfstatat", "statx",    "shutdown",   "close"};

// Nothing of ours makes these attempts, so whoever does has taken the process over.
constexpr const char* kFatal[] = {"execve", "execveat", "ptrace", "process_vm_writev"};

constexpr int kFamilies[] = {AF_PACKET, AF_NETLINK, AF_UNIX, AF_INET, AF_INET6};

// Of interfaces, and what the C library asks about standard output.
constexpr unsigned kControls[] = {SIOCGIFFLAGS, SIOCSIFFLAGS, SIOCGIFMTU, SIOCGIFINDEX, SIOCGIFNAME,
                                  SIOCETHTOOL,  FIONREAD,     TCGETS,     TIOCGWINSZ};

using Filter = std::unique_ptr<std::remove_pointer_t<scmp_filter_ctx>, decltype(&seccomp_release)>;

// A name that this machine does not have needs no rule.
bool add(const Filter& filter, uint32_t action, const char* name) {
    const int number = seccomp_syscall_resolve_name(name);
    return number == __NR_SCMP_ERROR || seccomp_rule_add(filter.get(), action, number, 0) == 0;
}

bool allowWith(const Filter& filter, int number, unsigned argument, uint64_t value) {
    // An int: the upper half of the register is not part of it.
    return seccomp_rule_add(filter.get(), SCMP_ACT_ALLOW, number, 1,
                            SCMP_CMP(argument, SCMP_CMP_MASKED_EQ, 0xFFFFFFFF, value)) == 0;
}

bool fillCommon(const Filter& filter, std::span<const char* const> more) {
    bool good = true;
    for (const char* name : kCommon) good = good && add(filter, SCMP_ACT_ALLOW, name);
    for (const char* name : more) good = good && add(filter, SCMP_ACT_ALLOW, name);
    for (const char* name : kFatal) good = good && add(filter, SCMP_ACT_KILL_PROCESS, name);
    return good;
}

bool fillDaemon(const Filter& filter) {
    bool good = fillCommon(filter, kDaemon);
    for (const int family : kFamilies) {
        good = good && allowWith(filter, SCMP_SYS(socket), 0, static_cast<uint32_t>(family));
    }
    for (const unsigned control : kControls) {
        good = good && allowWith(filter, SCMP_SYS(ioctl), 1, control);
    }
    // Whether a client is alive, and the end of abort().
    return good && allowWith(filter, SCMP_SYS(kill), 1, 0) &&
           allowWith(filter, SCMP_SYS(tgkill), 2, SIGABRT) &&
           allowWith(filter, SCMP_SYS(tkill), 1, SIGABRT);
}

bool fillServer(const Filter& filter) {
    return fillCommon(filter, kServer);
}

int limit(bool (*fill)(const Filter&)) {
    // All other calls fail as on a kernel that lacks them, so that a newer C library falls back to
    // one that is allowed, and an attempt is only logged by the kernel.
    const Filter filter(seccomp_init(SCMP_ACT_ERRNO(ENOSYS)), seccomp_release);
    if (!filter) return PLATFORM_FILTER_FAILED;
    (void)seccomp_attr_set(filter.get(), SCMP_FLTATR_CTL_LOG, 1);
    return fill(filter) && seccomp_load(filter.get()) == 0 ? int{kOk} : PLATFORM_FILTER_FAILED;
}

}  // namespace

int limitSystemCalls() {
    return limit(fillDaemon);
}

int limitServerCalls() {
    return limit(fillServer);
}

#else

int limitSystemCalls() {
    return PLATFORM_FILTER_MISSING;
}

int limitServerCalls() {
    return PLATFORM_FILTER_MISSING;
}

#endif
