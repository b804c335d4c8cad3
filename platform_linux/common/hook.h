// The product's hooks (docs/platform.md): executables by name, none of which holds up the daemon.
//
// The library waits 75 ms per 250 ms for all hooks together. After that they go on in the
// background until the limit in the table of programs. While a hook is running, it cannot be
// started again: 16.
//
// The functions also take a program of the library's own (common/programs.h), which is always there
// and logs for itself.
#pragma once

#include <string>

#include "common/job.h"

// An action. Returns the hook's exit status; 0, accepted, if it is still running; 16 if there is no
// such hook, it is running already or cannot be started. Unless it was not started, done (which may
// be empty) is called at its end, before this returns or later.
int runHook(const std::string& name, const Arguments& args = {}, JobDone done = {});

// A question. Stores what the hook printed and returns its exit status. While the hook is still
// running, the last answer to the same call (name and arguments) is used, or 16 if there is none;
// a later call gets the new answer.
int askHook(const std::string& name, const Arguments& args, std::string& output,
            size_t maxOutput = JobOptions{}.maxOutput);

// A question whose answer is one text: what the hook printed, trimmed, cut to size (bytes) and
// terminated; empty unless the hook returned 0. Returns the exit status; 16 if it printed nothing
// or text is nullptr.
int askForText(const std::string& name, const Arguments& args, char* text, size_t size);

// The same for what is asked on a schedule: without the hook it returns 16 silently and leaves the
// text alone.
int askIfThere(const std::string& name, const Arguments& args, char* text, size_t size);

// Starts a hook without waiting for it. okLevel is the level of the log line about a success.
// Returns its job, or 0 where runHook returns 16.
[[nodiscard]] JobId startHook(const std::string& name, const Arguments& args, JobOptions options,
                              JobDone done, uint8_t okLevel = 3);

// Whether there is an executable of this name.
bool hasHook(const std::string& name);

// Forgets all answers and that time was spent waiting.
void forgetHooks();
