#include "common/processes.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include "base/fd.h"
#include "base/result.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;

// The daemon kills its jobs itself, with a log line, unless somebody has taken it over.
constexpr std::chrono::seconds kGrace{2};

struct SpawnActions {
    posix_spawn_file_actions_t actions;
    SpawnActions() { posix_spawn_file_actions_init(&actions); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;
};

struct SpawnAttr {
    posix_spawnattr_t attr;
    SpawnAttr() { posix_spawnattr_init(&attr); }
    ~SpawnAttr() { posix_spawnattr_destroy(&attr); }
    SpawnAttr(const SpawnAttr&) = delete;
    SpawnAttr& operator=(const SpawnAttr&) = delete;
};

// Returns -1, with errno, if the program cannot be run.
pid_t spawn(const std::string& path, const Launch& launch) {
    SpawnActions files;
    const auto redirect = [&files](int from, int to, int mode) {
        if (from >= 0) {
            posix_spawn_file_actions_adddup2(&files.actions, from, to);
        } else {
            posix_spawn_file_actions_addopen(&files.actions, to, "/dev/null", mode, 0);
        }
    };
    redirect(launch.in, STDIN_FILENO, O_RDONLY);
    redirect(launch.out, STDOUT_FILENO, O_WRONLY);
    if (launch.quiet) redirect(-1, STDERR_FILENO, O_WRONLY);
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 34)
    // Other parts of the process may open descriptors that are not close-on-exec.
    posix_spawn_file_actions_addclosefrom_np(&files.actions, STDERR_FILENO + 1);
#endif

    SpawnAttr attr;
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attr.attr, &signals);
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attr.attr, &signals);
    posix_spawnattr_setpgroup(&attr.attr, 0);
    posix_spawnattr_setflags(
        &attr.attr, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

    std::vector<char*> argv{const_cast<char*>(path.c_str())};
    for (const std::string& arg : launch.args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, argv[0], &files.actions, &attr.attr, argv.data(), environ);
    if (error == 0) return pid;
    errno = error;
    return -1;
}

bool redirect(int from, int to, int mode) {
    const int fd = from >= 0 ? from : open("/dev/null", mode);
    return fd >= 0 && dup2(fd, to) >= 0;
}

// In the child, whatever the parent has open or blocks.
bool prepareChild(const Launch& launch) {
    setpgid(0, 0);
    for (int number = 1; number < NSIG; number++) signal(number, SIG_DFL);
    sigset_t signals;
    sigemptyset(&signals);
    sigprocmask(SIG_SETMASK, &signals, nullptr);
    // The file last, because its number may be that of another descriptor.
    if (!redirect(launch.in, STDIN_FILENO, O_RDONLY) ||
        !redirect(launch.out, STDOUT_FILENO, O_WRONLY) ||
        (launch.quiet && !redirect(-1, STDERR_FILENO, O_WRONLY)) ||
        (launch.file >= 0 && launch.file != kWorkFile && dup2(launch.file, kWorkFile) < 0)) {
        return false;
    }
    closeFrom(launch.file >= 0 ? kWorkFile + 1 : kWorkFile);
    return true;
}

pid_t forkInto(const Program& program, const Launch& launch) {
    const pid_t pid = fork();
    if (pid != 0) {
        // Here too, since the group may be killed before the child has run.
        if (pid > 0) setpgid(pid, pid);
        return pid;
    }
    _exit(prepareChild(launch) ? program.work(launch.args) : kFailure);
}

bool isSafe(const struct stat& info) {
    return info.st_uid == 0 && (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

}  // namespace

void closeFrom(int first) {
    if (syscall(SYS_close_range, first, ~0U, 0) == 0) return;
    for (int fd = first; fd < sysconf(_SC_OPEN_MAX); fd++) close(fd);
}

std::string hookFile(std::string_view name) {
    const char* folder = secure_getenv("VM1905_HOOKS");
    return std::string(folder != nullptr ? folder : "/etc/vm1905/hooks") + "/" + std::string(name);
}

std::string safeHookFile(std::string_view name) {
    const std::string file = hookFile(name);
    const std::unique_ptr<char, decltype(&free)> resolved(
        realpath(file.substr(0, file.rfind('/')).c_str(), nullptr), free);
    if (!resolved) return {};
    const std::string folder(resolved.get());
    struct stat info {};
    for (size_t end = 0; end != folder.npos; end = folder.find('/', end + 1)) {
        const std::string above = end == 0 ? "/" : folder.substr(0, end);
        if (lstat(above.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return {};
        const bool isSticky = info.st_uid == 0 && (info.st_mode & S_ISVTX) != 0;
        if (!isSafe(info) && !isSticky) return {};
    }
    // A sticky folder protects what is in it, but here others could add hooks.
    if (lstat(folder.c_str(), &info) != 0 || !isSafe(info)) return {};
    const std::string path = folder + "/" + std::string(name);
    const bool good = lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode) && isSafe(info) &&
                      (info.st_mode & S_IXUSR) != 0;
    return good ? path : "";
}

bool Processes::canStart(uint8_t number) const {
    if (number >= programs().size()) return false;
    const Program& program = programs()[number];
    if (program.work != nullptr) return true;
    if (strict_) return !safeHookFile(program.name).empty();
    const std::string file = hookFile(program.name);
    struct stat info {};
    return stat(file.c_str(), &info) == 0 && S_ISREG(info.st_mode) &&
           access(file.c_str(), X_OK) == 0;
}

Handle Processes::start(const Launch& launch) {
    errno = EINVAL;
    if (launch.program >= programs().size()) return 0;
    const Program& program = programs()[launch.program];
    if (!fits(program, launch.args, strict_)) return 0;
    errno = EBUSY;
    if (strict_ && std::ranges::count(list_, launch.program, &Process::program) > 0) return 0;
    pid_t pid = -1;
    if (program.work != nullptr) {
        pid = forkInto(program, launch);
    } else {
        const std::string path = strict_ ? safeHookFile(program.name) : hookFile(program.name);
        errno = EACCES;
        if (!path.empty()) pid = spawn(path, launch);
    }
    if (pid < 0) return 0;
    list_.push_back({++last_, launch.program, pid, Clock::now() + program.limit + kGrace});
    return last_;
}

std::list<Processes::Process>::iterator Processes::find(Handle handle) {
    return std::ranges::find(list_, handle, &Process::handle);
}

int Processes::collect(Handle handle, int& status) {
    const auto process = find(handle);
    if (process == list_.end()) return ECHILD;
    const pid_t ended = waitpid(process->pid, &status, WNOHANG);
    const int error = ended < 0 ? errno : 0;
    if (ended == 0 || error == EINTR) return EAGAIN;
    list_.erase(process);
    return error;
}

void Processes::kill(Handle handle) {
    if (const auto process = find(handle); process != list_.end()) ::kill(-process->pid, SIGKILL);
}

void Processes::enforceLimits() {
    for (const Process& process : list_) {
        if (Clock::now() >= process.until) ::kill(-process.pid, SIGKILL);
    }
}
