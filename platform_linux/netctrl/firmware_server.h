// Where the devices find the announced images: our own server, another machine's or the product's.
#pragma once

#include <chrono>
#include <string>

#include "common/programs.h"

// The URL of every image up to its name, with a slash at its end. Empty while nothing can serve
// them; the first time a log line says what is missing.
std::string firmwareUrl();

// Stops the server if it was started.
void stopServer();

// The same at the end of the library: waits briefly for a start or stop that is still running.
void endServer();

// After a crash of the daemon the server ends by itself.
inline constexpr std::chrono::seconds kServerLife{3600};
// The work of the program "firmware server": our address, and the names of the files to serve.
int runServer(const Arguments& args);
