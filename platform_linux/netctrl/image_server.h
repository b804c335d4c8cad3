// A server of a few files by HTTP, for a process that does nothing else.
#pragma once

#include <functional>
#include <map>
#include <string>

#include "base/fd.h"

// The files by name. They are open already, so the server needs no right to open any.
using OpenFiles = std::map<std::string, Fd, std::less<>>;

// Answers GET and HEAD of "/NAME" for the clients of a listening socket. Never returns.
[[noreturn]] void serveFiles(const Fd& listener, const OpenFiles& files);
