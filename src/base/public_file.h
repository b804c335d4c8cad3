// Files in folders such as /tmp, where other users may put links, FIFOs or files of their own under
// the name of ours. Nothing here follows a link or waits for a FIFO.
//
// A folder must belong to this user and be writable by nobody else, or be shared like /tmp: sticky
// and owned by root. A file must be a regular file of this user with a single name. Whatever does
// not comply is left alone.
//
// The platform library uses this module too, so it neither logs nor has state; see file_trouble.h.
#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "base/fd.h"

// Why something failed, for people; empty if it did not.
using FileTrouble = std::string;

// Checks an existing folder.
[[nodiscard]] FileTrouble checkPublicFolder(const std::string& folder);

// Makes the folder with mode 0755, unless it exists.
[[nodiscard]] FileTrouble makePublicFolder(const std::string& folder);

// Gives the file this content, or creates it. It is replaced as a whole, so that a reader never
// finds half of it; it keeps its mode and group.
[[nodiscard]] FileTrouble replacePublicFile(const std::string& path, std::string_view text);

// Adds to the file, or creates it.
[[nodiscard]] FileTrouble appendPublicFile(const std::string& path, std::string_view text);

// Opens the file with these flags of open(2), which must not have O_TRUNC, and creates it with this
// mode if they have O_CREAT. An empty Fd, and the trouble, if that fails.
[[nodiscard]] Fd openPublicFile(const std::string& path, int flags, mode_t mode,
                                FileTrouble& trouble);

// Removes everything in the folder whose name begins like this.
void removePublicFiles(const std::string& folder, std::string_view beginning);

// For root: gives a file or folder of root to another user. Leaves anything else alone, such as a
// link or a file with a second name, and whatever is in a folder to which others can write: they
// may have put it there.
void handOver(const std::string& path, uid_t user, gid_t group);
