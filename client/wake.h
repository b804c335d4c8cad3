// The FIFO by which a client wakes the daemon.
#pragma once

enum class Poke {
    kWoken,     // the daemon is awake
    kNoReader,  // the FIFO has no reader: most likely no daemon runs
    kNoFifo,    // there is no FIFO; the daemon still polls once a second
};

// Never blocks and never raises SIGPIPE.
[[nodiscard]] Poke pokeDaemon();
