// Files in folders such as /tmp, where other users may put links, FIFOs or files of their own under
// the name of ours. Nothing here follows a link or waits for a FIFO.
//
// A folder must belong to this user and be writable by nobody else, or be shared like /tmp: sticky
// and owned by root. A file must be a regular file of this user with a single name. Whatever does
// not comply is left alone.
//
// The platform library uses this module too, so it neither logs nor has state; see file_trouble.h.
#pragma once

#include <sys/stat.h>
#include <sys/types.h>

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "base/fd.h"

// The path of a folder; open(2) would follow a link in front of a slash at the end.
std::string withoutSlash(std::string path);

// A name and its folder.
struct Place {
    std::string folder, name;
};
Place placeOf(const std::string& path);

// True for a folder like /tmp: every user may create files, but remove only his own.
bool isSharedFolder(const struct stat& info);

// The name of the file with which replacePublicFile replaces the one of that name.
std::string temporaryName(const std::string& name);

// Why something failed, for people; empty if it did not.
using FileTrouble = std::string;

// Checks an existing folder.
[[nodiscard]] FileTrouble checkPublicFolder(const std::string& folder);

// Makes the folder with mode 0755, unless it exists.
[[nodiscard]] FileTrouble makePublicFolder(const std::string& folder);

// Gives the file this content, or creates it. It is replaced as a whole, so that a reader never
// finds half of it; it keeps its group, and its mode unless one is given.
[[nodiscard]] FileTrouble replacePublicFile(const std::string& path,
                                            std::span<const std::string_view> pieces,
                                            std::optional<mode_t> mode = {});
[[nodiscard]] inline FileTrouble replacePublicFile(const std::string& path, std::string_view text,
                                                   std::optional<mode_t> mode = {}) {
    return replacePublicFile(path, {&text, 1}, mode);
}

// Adds to the file, or creates it.
[[nodiscard]] FileTrouble appendPublicFile(const std::string& path, std::string_view text);

// Opens the file with these flags of open(2), which must not have O_TRUNC, and creates it with this
// mode if they have O_CREAT. An empty Fd, and the trouble, if that fails.
[[nodiscard]] Fd openPublicFile(const std::string& path, int flags, mode_t mode,
                                FileTrouble& trouble);

// Removes everything in the folder whose name begins like this.
void removePublicFiles(const std::string& folder, std::string_view beginning);
