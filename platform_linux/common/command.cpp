#include "common/command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>

#include "common/fd.h"
#include "common/log.h"

extern char** environ;

namespace plat {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPollStep{5};
constexpr milliseconds kKillWait{100};

// Killed children that the kernel had not let go of in time.
struct Unreaped {
    std::vector<pid_t> pids;
};
Unreaped unreaped;

void reapLeftOver() {
    std::erase_if(unreaped.pids, [](pid_t pid) { return ::waitpid(pid, nullptr, WNOHANG) != 0; });
}

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

pid_t spawn(const std::vector<std::string>& argv, int stdoutFd, bool quiet) {
    SpawnActions files;
    posix_spawn_file_actions_addopen(&files.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files.actions, stdoutFd, STDOUT_FILENO);
    if (quiet)
        posix_spawn_file_actions_addopen(&files.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
#if defined(__GLIBC__) && __GLIBC_PREREQ(2, 34)
    // Not every descriptor of the process is ours to mark close-on-exec.
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

    std::vector<char*> args;
    args.reserve(argv.size() + 1);
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    pid_t pid = -1;
    const int error =
        ::posix_spawn(&pid, args[0], &files.actions, &attr.attr, args.data(), environ);
    if (error == 0) return pid;
    errno = error;
    return -1;
}

// Reads what is there; false when the other side is closed. A child that writes without end must
// not keep us here, so only so much is read at a time.
bool drain(int fd, std::string* output, size_t maxOutput) {
    std::array<char, 1024> buffer;
    for (int reads = 0; reads < 64; ++reads) {
        const ssize_t n = ::read(fd, buffer.data(), buffer.size());
        if (n == 0) return false;
        if (n < 0) return errno == EAGAIN || errno == EINTR;
        if (output == nullptr) continue;
        const size_t room = maxOutput - std::min(maxOutput, output->size());
        output->append(buffer.data(), std::min(room, static_cast<size_t>(n)));
    }
    return true;
}

void killGroup(pid_t pid) {
    ::kill(-pid, SIGKILL);
    const auto until = Clock::now() + kKillWait;
    while (::waitpid(pid, nullptr, WNOHANG) == 0) {
        if (Clock::now() >= until) {
            unreaped.pids.push_back(pid);
            return;
        }
        ::poll(nullptr, 0, 1);
    }
}

}  // namespace

int runCommand(const std::vector<std::string>& argv, const CommandOptions& options) {
    if (argv.empty()) return kFailure;
    reapLeftOver();
    std::string* output = options.output;
    if (output != nullptr) output->clear();
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return kFailure;
    Fd in(ends[0]);
    Fd out(ends[1]);
    // Only our side may be non-blocking.
    (void)::fcntl(out.get(), F_SETFL, 0);

    const pid_t pid = spawn(argv, out.get(), options.quiet);
    if (pid < 0) {
        PLAT_LOG(2, "can't run %s: %m", argv[0].c_str());
        return kFailure;
    }
    out.reset();

    const auto until = Clock::now() + options.limit;
    for (;;) {
        pollfd waitFor{in.get(), POLLIN, 0};
        ::poll(&waitFor, in.get() >= 0 ? 1 : 0, static_cast<int>(kPollStep.count()));
        if (in.get() >= 0 && !drain(in.get(), output, options.maxOutput)) in.reset();
        int status = 0;
        const pid_t ended = ::waitpid(pid, &status, WNOHANG);
        if (ended == pid) {
            if (in.get() >= 0) (void)drain(in.get(), output, options.maxOutput);
            return WIFEXITED(status) ? WEXITSTATUS(status) : kFailure;
        }
        // Somebody else has collected it: how it ended is lost.
        if (ended < 0 && errno == ECHILD) return kFailure;
        if (Clock::now() >= until) {
            PLAT_LOG(1, "%s took longer than %lld ms and was ended", argv[0].c_str(),
                     static_cast<long long>(options.limit.count()));
            killGroup(pid);
            return kFailure;
        }
    }
}

std::string findProgram(std::string_view name) {
    const char* path = std::getenv("PATH");
    std::string folders = path != nullptr ? path : "";
    folders += ":/usr/sbin:/usr/bin:/sbin:/bin";
    for (size_t start = 0; start <= folders.size();) {
        const size_t end = std::min(folders.find(':', start), folders.size());
        std::string file = folders.substr(start, end - start) + "/" + std::string(name);
        if (file.starts_with('/') && ::access(file.c_str(), X_OK) == 0) return file;
        start = end + 1;
    }
    return {};
}

int runHook(const std::string& name, const std::vector<std::string>& args, std::string* output) {
    const char* folder = ::secure_getenv("VM1905_HOOKS");
    const std::string file =
        std::string(folder != nullptr ? folder : "/etc/vm1905/hooks") + "/" + name;
    struct stat info {};
    if (::stat(file.c_str(), &info) != 0 || !S_ISREG(info.st_mode) ||
        ::access(file.c_str(), X_OK) != 0) {
        PLAT_LOG(2, "no hook for this action: provide an executable %s", file.c_str());
        return kFailure;
    }
    std::vector<std::string> argv{file};
    argv.insert(argv.end(), args.begin(), args.end());
    const int result = runCommand(argv, {.output = output});
    PLAT_LOG(result == 0 ? 3 : 2, "hook %s: %d", name.c_str(), result);
    return result;
}

}  // namespace plat
