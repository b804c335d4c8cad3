// CONFINE: the daemon gives up its rights. What needs them later is run by another process, which
// the platform library forks before (platform/confinement.h).
//
// The parts of the start, in this order: initConfinement, claimNamesForUser, what only root can
// open, giveUpRights, all the rest, closeConfinement.
#pragma once

#include <sys/types.h>

struct Confinement {
    uid_t user = 0;  // of RUN_AS; 0: it stays as it is
    gid_t group = 0;
};

// Logs which rights the daemon lacks. With CONFINE, finds the user of RUN_AS. kOk, or kFailure,
// with a line of the log, if the daemon cannot be confined as it should be.
[[nodiscard]] int initConfinement();

// Claims the names of the daemon's files, segments and FIFO for the user that it will run as
// (claimNames). kOk or kFailure.
[[nodiscard]] int claimNamesForUser();

// With CONFINE: hands over what the user of RUN_AS must be able to write, and becomes this user
// with CAP_NET_RAW, CAP_NET_ADMIN and, if others may reboot this device, CAP_SYS_BOOT. Does nothing
// without it. kOk or kFailure.
[[nodiscard]] int giveUpRights();

// With CONFINE: limits the system calls, if the platform library can. kOk or kFailure.
[[nodiscard]] int closeConfinement();

// At the end: starts the daemon that follows this one, without waiting for it. Not 0 if that fails.
int startNextDaemon();
