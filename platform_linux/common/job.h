// Programs that the platform library runs without a shell, each in a process group of its own and
// for a bounded time. A job runs beside the daemon and is collected by a later pass.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

struct JobOptions {
    // Afterwards collectJobs kills the whole process group.
    std::chrono::milliseconds limit{2000};
    size_t maxOutput = 8192;  // bytes of standard output that are kept; the rest is discarded
    bool quiet = false;       // discard standard error
    bool keepErrors = false;  // standard error is part of the output
    uint64_t maxFile = 0;     // bytes that a file written by it may have; 0: no limit
    bool outlives = false;    // keeps running when the library ends; its output is discarded
    int in = -1;              // standard input; -1: an empty one
    std::string name{};       // for log lines; the program's path if empty
};

// Called once at the end of a job, from collectJobs or waitJob, with what it printed and its exit
// status; 16 if it was ended by a signal or exceeded its limit. May start jobs.
using JobDone = std::function<void(int status, const std::string& output)>;

using JobId = uint64_t;  // never 0

// Jobs that can run at the same time; further ones are refused.
inline constexpr size_t kMaxJobs = 32;

// Starts the program at the path argv[0] with these arguments, unchanged. Never waits. Returns 0,
// with a log line at level 2, if it cannot be started or too many are running; done is then not
// called.
[[nodiscard]] JobId startJob(const std::vector<std::string>& argv, const JobOptions& options,
                             JobDone done);

// Waits for a job to end, for `most` at the longest. Returns the status that done is given; none if
// it is still running or there is no such job.
std::optional<int> waitJob(JobId id, std::chrono::milliseconds most);

// Whether the job has been started and not been collected yet.
bool isJobRunning(JobId id);
// The same for any job of this name.
bool isJobRunning(const std::string& name);

// Kills the job's process group; done is called when it is collected.
void killJob(JobId id);

// Collects jobs that have ended, reads output, kills jobs that exceed their limit. Never waits.
// Called from runNetCtrl and every second.
void collectJobs();

// Kills and collects all jobs except those that outlive the library, without calling done.
void endAllJobs();
