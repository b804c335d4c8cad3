// Programs that the platform library runs: without a shell, in a process group of their own, for a
// bounded time, and without holding up the daemon. A job is started, goes on beside the daemon and
// is collected by a later pass.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct JobOptions {
    // When it is over the whole process group is killed, at the next collectJobs.
    std::chrono::milliseconds limit{2000};
    size_t maxOutput = 8192;  // so many bytes of standard output are kept, the rest is read away
    bool quiet = false;       // standard error goes nowhere instead of to ours
    uint64_t maxFile = 0;     // no file that it writes grows beyond so many bytes; 0: no limit
    bool outlives = false;    // goes on when the library ends; what it prints goes nowhere
    int in = -1;              // its standard input; -1: an empty one
    std::string name{};       // in log lines; without it the program's path
};

// Told of the end of a job, once, from collectJobs or waitJob: its exit status, or 16 when it was
// ended by a signal or took longer than its limit; and what it has printed. May start jobs.
using JobDone = std::function<void(int status, const std::string& output)>;

using JobId = uint64_t;  // never 0

// Jobs at work at the same time; the next one is refused.
inline constexpr size_t kMaxJobs = 32;

// Starts the program at argv[0] (a path) with these arguments, each handed over as it is, and with
// the standard input of the options. Never waits. 0, with a line at level 2 and without a call of
// done, when it cannot be started or too many are at work.
[[nodiscard]] JobId startJob(const std::vector<std::string>& argv, const JobOptions& options,
                             JobDone done);

// Waits at most so long for a job to end. Its status as told to done, or none when it is still at
// work (or was none).
std::optional<int> waitJob(JobId id, std::chrono::milliseconds most);

// Whether it was started and has not been collected yet.
bool isJobAtWork(JobId id);
// Whether a job of this name is.
bool isJobAtWork(const std::string& name);

// Kills the job's process group; done hears of it when it is collected.
void killJob(JobId id);

// Collects what has ended, reads what was printed, kills what is over its limit. Never waits.
// Called from runNetCtrl and every second.
void collectJobs();

// Kills and collects all jobs but those that outlive the library, without telling done.
void endAllJobs();
