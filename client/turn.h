// What clients have between them beside the slots: the lock file by which they take turns at the
// request slot, and the FIFO by which they wake the daemon.
#pragma once

#include "wait.h"

// Holds the lock file while it lives.
class Turn {
  public:
    Turn() = default;
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
    ~Turn();

    // 0, VM1905_BUSY when the wait ends first, VM1905_CANCELLED, VM1905_SYSTEM.
    int take(Wait& wait);

  private:
    int fd_ = -1;
};

enum class Poke {
    kHeard,    // the daemon is woken
    kNobody,   // the FIFO has no reader: most likely there is no daemon
    kUnknown,  // no FIFO here; the daemon looks once a second all the same
};

// Never blocks, and raises no SIGPIPE.
Poke pokeDaemon();
