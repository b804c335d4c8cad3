// What this daemon alone may have while it runs: the lock in its own folder, the segments of the
// service channel, and the names of its files.
#pragma once

#include <sys/types.h>

#include <string>

#include "base/fd.h"

struct OwnNames {
    std::string folder = "/tmp";  // of the clients' lock
    unsigned patience = 3000;     // milliseconds for another daemon to end
    Fd lock{};
};

// Waits up to three seconds for another daemon to end, as the one that restarts does. Then makes
// the folder, the lock, the segments and the FIFO of the daemon for the user that it runs as, and
// removes what others have put under the names of its files and folders. To be called once, by
// the process that remains, as long as it has its rights.
//
// kOk, or kFailure if the other daemon does not end, which then keeps all it has, or if there are
// no segments. The log says why.
[[nodiscard]] int claimNames(uid_t user, gid_t group);
