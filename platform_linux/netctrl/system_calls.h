// The system calls of confined processes.
#pragma once

// Limits the system calls of a process that only serves files that it has open, to clients of a
// socket that it has open. Returns the same as limitSystemCalls (platform/confinement.h).
[[nodiscard]] int limitServerCalls();
