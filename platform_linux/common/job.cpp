#include "common/job.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>

#include "base/fd.h"
#include "base/result.h"
#include "common/log.h"

extern char** environ;

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPollStep{5};
constexpr milliseconds kEndWait{500};

struct Job {
    JobId id = 0;
    pid_t pid = -1;
    Fd in;  // reads its standard output; closed at its end
    JobOptions options;
    JobDone done;
    std::string output;
    Clock::time_point until;
    bool killed = false;
};

struct {
    std::list<Job> list;
    JobId last = 0;
} jobs;

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

pid_t spawn(const std::vector<std::string>& argv, int stdoutFd, const JobOptions& options) {
    SpawnActions files;
    if (options.in >= 0) {
        posix_spawn_file_actions_adddup2(&files.actions, options.in, STDIN_FILENO);
    } else {
        posix_spawn_file_actions_addopen(&files.actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    }
    // Writing into a pipe that nobody reads would end it.
    if (options.outlives) {
        posix_spawn_file_actions_addopen(&files.actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    } else {
        posix_spawn_file_actions_adddup2(&files.actions, stdoutFd, STDOUT_FILENO);
    }
    if (options.keepErrors) {
        posix_spawn_file_actions_adddup2(&files.actions, stdoutFd, STDERR_FILENO);
    } else if (options.quiet) {
        posix_spawn_file_actions_addopen(&files.actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
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

    std::vector<char*> args;
    args.reserve(argv.size() + 1);
    for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    pid_t pid = -1;
    const int error = posix_spawn(&pid, args[0], &files.actions, &attr.attr, args.data(), environ);
    if (error == 0) return pid;
    errno = error;
    return -1;
}

// Reads what is there, up to a limit: a job that writes without end must not keep us here.
void drain(Job& job) {
    std::array<char, 4096> buffer;
    for (int reads = 0; reads < 256 && job.in; reads++) {
        const ssize_t n = read(job.in.get(), buffer.data(), buffer.size());
        if (n < 0 && (errno == EAGAIN || errno == EINTR)) return;
        if (n <= 0) {
            job.in = Fd();
            return;
        }
        const size_t room = job.options.maxOutput - job.output.size();
        job.output.append(buffer.data(), std::min(room, static_cast<size_t>(n)));
    }
}

void killGroup(Job& job) {
    if (!job.killed) kill(-job.pid, SIGKILL);
    job.killed = true;
}

// Its exit status, or none while it is running.
std::optional<int> statusOf(Job& job) {
    drain(job);
    int status = 0;
    const pid_t ended = waitpid(job.pid, &status, WNOHANG);
    if (ended == job.pid) {
        drain(job);
        if (WIFEXITED(status)) return WEXITSTATUS(status);
        if (!job.killed) {
            LOG_LINE(2, "%s was ended by signal %d", job.options.name.c_str(), WTERMSIG(status));
        }
        return kFailure;
    }
    // Collected by somebody else: its status is lost.
    if (ended < 0 && errno == ECHILD) return kFailure;
    if (!job.killed && Clock::now() >= job.until) {
        LOG_LINE(2, "%s took longer than %lld ms and was killed", job.options.name.c_str(),
                 static_cast<long long>(job.options.limit.count()));
        killGroup(job);
    }
    return {};
}

std::list<Job>::iterator findJob(JobId id) {
    return std::find_if(jobs.list.begin(), jobs.list.end(),
                        [id](const Job& job) { return job.id == id; });
}

// Removes the job before calling done, so that done may start it again.
void finish(std::list<Job>::iterator it, int status) {
    std::list<Job> ended;
    ended.splice(ended.begin(), jobs.list, it);
    const Job& job = ended.front();
    if (job.done) job.done(status, job.output);
}

}  // namespace

JobId startJob(const std::vector<std::string>& argv, const JobOptions& options, JobDone done) {
    if (argv.empty()) return 0;
    if (jobs.list.size() >= kMaxJobs) {
        LOG_LINE(2, "%zu programs are running, refuse %s", kMaxJobs, argv[0].c_str());
        return 0;
    }
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return 0;
    Job job;
    job.in = Fd(ends[0]);
    const Fd out(ends[1]);
    // Only our side may be non-blocking.
    fcntl(out.get(), F_SETFL, 0);

    job.pid = spawn(argv, out.get(), options);
    if (job.pid < 0) {
        LOG_LINE(2, "can't run %s: %m", argv[0].c_str());
        return 0;
    }
    if (options.maxFile > 0) {
        // In time: it has only just started and cannot have written that much.
        const rlimit most{options.maxFile, options.maxFile};
        if (prlimit(job.pid, RLIMIT_FSIZE, &most, nullptr) != 0) {
            LOG_LINE(2, "can't limit the files of %s: %m", argv[0].c_str());
        }
    }
    job.id = ++jobs.last;
    job.options = options;
    if (job.options.name.empty()) job.options.name = argv[0];
    job.done = std::move(done);
    job.until = Clock::now() + options.limit;
    jobs.list.push_back(std::move(job));
    return jobs.last;
}

std::optional<int> waitJob(JobId id, milliseconds most) {
    const auto until = Clock::now() + most;
    for (;;) {
        const auto it = findJob(id);
        if (it == jobs.list.end()) return {};
        if (const auto status = statusOf(*it)) {
            finish(it, *status);
            return status;
        }
        const auto left = std::chrono::ceil<milliseconds>(until - Clock::now());
        if (left <= milliseconds{0}) return {};
        pollfd waitFor{it->in.get(), POLLIN, 0};
        poll(&waitFor, 1, static_cast<int>(std::min(kPollStep, left).count()));
    }
}

bool isJobRunning(JobId id) {
    return findJob(id) != jobs.list.end();
}

bool isJobRunning(const std::string& name) {
    return std::any_of(jobs.list.begin(), jobs.list.end(),
                       [&name](const Job& job) { return job.options.name == name; });
}

void killJob(JobId id) {
    if (const auto it = findJob(id); it != jobs.list.end()) killGroup(*it);
}

void collectJobs() {
    // By identifier, because done may start, wait for and collect other jobs.
    std::vector<JobId> ids;
    for (const Job& job : jobs.list) ids.push_back(job.id);
    for (const JobId id : ids) waitJob(id, milliseconds{0});
}

void endAllJobs() {
    jobs.list.remove_if([](const Job& job) { return job.options.outlives; });
    for (Job& job : jobs.list) {
        killGroup(job);
        job.done = nullptr;
    }
    const auto until = Clock::now() + kEndWait;
    for (collectJobs(); !jobs.list.empty() && Clock::now() < until; collectJobs()) {
        poll(nullptr, 0, 1);
    }
    jobs.list.clear();
}
