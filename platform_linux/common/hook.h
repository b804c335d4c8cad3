// The product's hooks (docs/platform.md): executables by name, none of which holds up the daemon.
//
// All hooks together are waited for 75 ms in a quarter of a second; otherwise they are left at
// work, for as long as their limit allows. While one of a name is at work, another start of that
// name is refused with 16.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "common/job.h"

inline constexpr std::chrono::milliseconds kHookLimit{2000};

// An action. Returns the hook's exit status; 0, accepted, while it is still at work; 16 when there
// is no such hook, it is at work already or cannot be started. done, which may be empty, is told
// its end in every case but the last, before this returns or later.
int runHook(const std::string& name, const std::vector<std::string>& args = {}, JobDone done = {},
            std::chrono::milliseconds limit = kHookLimit);

// A question: output takes what the hook printed. Returns its exit status. A hook that is still at
// work is answered for by the last answer to the same call (name and arguments) if there was one,
// else by 16; the next call then finds the new one.
int askHook(const std::string& name, const std::vector<std::string>& args, std::string& output,
            size_t maxOutput = JobOptions{}.maxOutput);

// A question whose answer is one text: what the hook printed, without white space around it, cut to
// size and terminated; empty unless it returned 0. Returns its exit status, 16 when it printed
// nothing or text is null.
int askForText(const std::string& name, const std::vector<std::string>& args, char* text,
               size_t size);

// The same for what is asked on a schedule: without the hook 16 at once, with nothing to complain
// of and the text left alone.
int askIfThere(const std::string& name, const std::vector<std::string>& args, char* text,
               size_t size);

// Starts a hook without waiting for it at all. Its job, or 0 as for the 16 of runHook.
[[nodiscard]] JobId startHook(const std::string& name, const std::vector<std::string>& args,
                              JobOptions options, JobDone done);

// Whether there is an executable of this name.
bool hasHook(const std::string& name);

// Forgets the answers.
void forgetHooks();
