// The processes of daemons, as the kernel shows them to every user.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// The daemons of this PID namespace. The first one has the lock, if this user may see who has it.
std::vector<pid_t> daemonProcesses();
// Seconds since the process was started.
std::optional<int64_t> uptimeOf(pid_t pid);
// The version of the daemon in this process; empty if this user may not read its lock file.
std::string versionOf(pid_t pid);
// A line of /proc/PID/status, such as CapEff; empty if it is unknown.
std::string processStatus(pid_t pid, const std::string& key);

// On how many of these interfaces a socket of the process receives IEEE 1905.1 messages; a socket
// of any process, if this user may not see those of that one.
size_t openPorts(const std::vector<std::string>& names, pid_t pid);
