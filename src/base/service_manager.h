// The protocol of a service manager that started the daemon: messages to the socket NOTIFY_SOCKET.
#pragma once

#include <string>

// True if a service manager started this process.
bool hasServiceManager();

// Sends a message, such as "READY=1". Does nothing without a service manager.
void notifyServiceManager(const std::string& message);

// In a child process of a daemon that ends: becomes the next daemon. A service manager learns
// first that this is now the main process. Returns only on failure.
void becomeNextDaemon();

// Waits up to 5 seconds until the child process that has the other end of this pipe runs the next
// daemon, or has failed.
void awaitNextDaemon(int pipeEnd);
