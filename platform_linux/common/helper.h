// Who runs the programs of the table: this process, or once it is confined the helper. That is a
// process that keeps the rights which the daemon gives up, and alone may start programs. It takes a
// program's number, arguments of the kinds that the table names, and open descriptors, and trusts
// nothing that it is sent. It ends with the daemon.
#pragma once

#include <optional>

#include "base/fd.h"
#include "common/processes.h"

// Forks the helper of a daemon that will run as this user and group, 0 if it remains root. False,
// with errno, if that fails. Call it before the process gives up rights, has threads or reads from
// the network.
[[nodiscard]] bool startHelper(uid_t user, gid_t group);
// The same with a socket of the caller's (SOCK_SEQPACKET) as the helper's end. Does not affect who
// runs the programs of this process.
[[nodiscard]] pid_t forkHelper(Fd end, uid_t user, gid_t group);

// Whether this process is a daemon with a helper, or was forked by the helper.
bool isConfined();
// For a work (common/programs.h) that needs no rights: changes to the user nobody, or to another
// one if the daemon is nobody, provided that this process may; gives up all capabilities. False if
// that fails.
[[nodiscard]] bool dropRights();
// The user and group of the daemon, in processes that the helper has forked. Both 0 if it has none
// of its own.
struct HelperUser {
    uid_t user = 0;
    gid_t group = 0;
};
HelperUser helperUser();
// Whether this process may become that user. Root in a user namespace that has no such user (a lab
// without real root) is an ordinary user outside, and remains what it is.
bool canBecome(uid_t user);

// Like the functions of Processes, in the helper if there is one. A helper that has ended is logged
// once at level 1, and nothing can be started then.
Handle startProgram(const Launch& launch);
bool canStartProgram(uint8_t program);
int collectProgram(Handle handle, int& status);
void killProgram(Handle handle);

// The messages between the two, each one packet: a request, followed by the arguments, each with a
// NUL at its end, and by the descriptors of which `has` says that they are there.
struct HelperRequest {
    enum Kind : uint8_t { kStart, kCanStart, kCollect, kKill } kind;
    uint8_t program;
    uint8_t quiet;
    uint8_t has;  // bit 0: out, 1: in, 2: file
    uint32_t reserved;
    Handle handle;
};
struct HelperReply {
    int32_t error;   // an errno; 0 if the request was carried out
    int32_t status;  // of kCollect
    Handle handle;   // of kStart
};
