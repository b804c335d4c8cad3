// Programs that the platform library runs without a shell, each in a process group of its own and
// for a bounded time. A job runs beside the daemon and is collected by a later pass.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "common/programs.h"

struct JobOptions {
    // Afterwards collectJobs kills the whole process group; 0: that of the table. Not longer.
    std::chrono::milliseconds limit{0};
    size_t maxOutput = 8192;  // bytes of standard output that are kept; the rest is discarded
    bool quiet = false;       // discard standard error
    bool outlives = false;    // keeps running when the library ends; its output is discarded
    int in = -1;              // standard input; -1: an empty one
    int file = -1;            // kWorkFile of a work; -1: none
    std::string name{};       // for log lines; that of the table if empty
};

// Called once at the end of a job, from collectJobs or waitJob, with what it printed and its exit
// status; 16 if it was ended by a signal or exceeded its limit. May start jobs.
using JobDone = std::function<void(int status, const std::string& output)>;

using JobId = uint64_t;  // never 0

// Jobs that can run at the same time; further ones are refused.
inline constexpr size_t kMaxJobs = 32;

// Starts the program of this name (common/programs.h). Never waits. Returns 0, with a log line at
// level 2, if it cannot be started or too many are running; done is then not called.
[[nodiscard]] JobId startJob(std::string_view program, const Arguments& args, JobOptions options,
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
