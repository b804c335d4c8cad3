// The FIFO by which a client wakes the daemon.
#pragma once

enum class Poke {
    kHeard,    // the daemon is awake
    kNobody,   // the FIFO has no reader: most likely no daemon runs
    kUnknown,  // there is no FIFO; the daemon still polls once a second
};

// Never blocks and never raises SIGPIPE.
[[nodiscard]] Poke pokeDaemon();
