// Files that are read whole, and files below /tmp, which base/public_file.h checks. Other folders
// are the administrator's.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>
#include <string_view>

#include "base/fd.h"

enum class Links { kFollow, kRefuse };

// The first bytes of a file, at most as many as given; empty if it cannot be read. A FIFO does not
// block. kRefuse: a symbolic link cannot be read.
std::string readFile(const std::string& path, size_t most, Links links = Links::kFollow);
// The same for an open file.
std::string readFile(const Fd& file, size_t most);

// Makes the daemon's own folder (base/own_folder.h) if it is missing. False if it is not a folder
// of root or the daemon's user to which only they can write.
[[nodiscard]] bool makeOwnFolder();

// Opens a file for writing, without O_TRUNC. A link is not followed.
Fd openOwnFile(const std::string& path, int flags, mode_t mode);
// Replaces the content of a file. Whether that worked.
bool writeOwnFile(const std::string& path, std::string_view text);
// The same for a file that only this user may read.
bool writeSecretFile(const std::string& path, std::string_view text);
// Whether nobody else can exchange what is made in the folder.
bool isSafeFolder(const std::string& folder);
