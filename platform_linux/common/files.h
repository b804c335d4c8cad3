// Files that are read whole.
#pragma once

#include <cstddef>
#include <string>

enum class Links { kFollow, kRefuse };

// The first bytes of a file, at most as many as given; empty if it cannot be read. A FIFO does not
// block. kRefuse: a symbolic link cannot be read.
std::string readFile(const std::string& path, size_t most, Links links = Links::kFollow);

// The daemon's own folder: /var/run/vm1905, or the one that the environment variable VM1905_RUN
// names.
std::string ownFolder();
// Makes it if it is missing. False if it is not a folder of root or the daemon's user to which only
// they can write.
[[nodiscard]] bool makeOwnFolder();
