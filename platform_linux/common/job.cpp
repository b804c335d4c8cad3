#include "common/job.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <list>

#include "base/fd.h"
#include "base/result.h"
#include "common/helper.h"
#include "common/log.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kPollStep{5};
constexpr milliseconds kEndWait{500};

struct Job {
    JobId id = 0;
    Handle process = 0;
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
    if (!job.killed) killProgram(job.process);
    job.killed = true;
}

// Its exit status, or none while it is running.
std::optional<int> statusOf(Job& job) {
    drain(job);
    int status = 0;
    const int error = collectProgram(job.process, status);
    if (error == 0) {
        drain(job);
        if (WIFEXITED(status)) return WEXITSTATUS(status);
        if (!job.killed) {
            LOG_LINE(2, "%s was ended by signal %d", job.options.name.c_str(), WTERMSIG(status));
        }
        return kFailure;
    }
    // Collected by somebody else: its status is lost.
    if (error != EAGAIN) return kFailure;
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

JobId startJob(std::string_view program, const Arguments& args, JobOptions options, JobDone done) {
    const auto number = programNumber(program);
    if (options.name.empty()) options.name = program;
    if (jobs.list.size() >= kMaxJobs) {
        LOG_LINE(2, "%zu programs are running, refuse %s", kMaxJobs, options.name.c_str());
        return 0;
    }
    int ends[2];
    if (!number || pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) return 0;
    Job job;
    job.in = Fd(ends[0]);
    const Fd out(ends[1]);
    // Only our side may be non-blocking.
    fcntl(out.get(), F_SETFL, 0);

    // Writing into a pipe that nobody reads would end a job that outlives the library.
    job.process = startProgram({.program = *number,
                                .quiet = options.quiet,
                                .out = options.outlives ? -1 : out.get(),
                                .in = options.in,
                                .file = options.file,
                                .args = args});
    if (job.process == 0) {
        LOG_LINE(2, "can't run %s: %m", options.name.c_str());
        return 0;
    }
    if (options.limit == milliseconds{0}) options.limit = programs()[*number].limit;
    job.id = ++jobs.last;
    job.until = Clock::now() + options.limit;
    job.options = std::move(options);
    job.done = std::move(done);
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
