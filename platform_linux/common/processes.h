// Starts, watches and kills the programs of the table, each in a process group of its own and
// without a shell. Used by the helper, or by the daemon itself if it is not confined
// (common/helper.h).
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <list>
#include <string>

#include "common/programs.h"

// A program to be started. Descriptors are borrowed.
struct Launch {
    uint8_t program = 0;  // its number
    bool quiet = false;   // discard standard error
    int out = -1;         // standard output; -1: discarded
    int in = -1;          // standard input; -1: empty
    int file = -1;        // kWorkFile of a work; -1: none
    Arguments args{};
};

using Handle = uint64_t;  // of a process, never 0

class Processes {
  public:
    // strict: what asks for programs is not trusted. Then arguments may not contain paths, hooks
    // must be safe from everybody but root, each program runs once at a time, and the limits of the
    // table are enforced here, too.
    explicit Processes(bool strict) : strict_(strict) {}

    // Starts a program. 0, with errno, if it is refused or cannot be started.
    Handle start(const Launch& launch);
    // Whether the program could be started now, as far as that can be said without its arguments.
    bool canStart(uint8_t program) const;
    // Stores how the process has ended, as waitpid does, and forgets it: 0. EAGAIN while it is
    // running. ECHILD if there is no such process, or somebody else has collected it.
    int collect(Handle handle, int& status);
    // Kills its process group.
    void kill(Handle handle);
    // Kills what runs longer than the table permits.
    void enforceLimits();

  private:
    struct Process {
        Handle handle;
        uint8_t program;
        pid_t pid;
        std::chrono::steady_clock::time_point until;
    };
    std::list<Process>::iterator find(Handle handle);

    const bool strict_;
    std::list<Process> list_;
    Handle last_ = 0;
};

// Closes this descriptor and all with higher numbers.
void closeFrom(int first);

// The path of a hook.
std::string hookFile(std::string_view name);

// The path of a hook that only root can change: the file is no link, belongs to root and is
// writable by nobody else, and so are all folders above it, or they are sticky. Empty if that is
// not so or there is no such executable. Such a path needs no further protection: nobody who could
// exchange the file between this check and its start needs this process for that.
std::string safeHookFile(std::string_view name);
