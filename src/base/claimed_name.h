// Names of our files and folders that other users may have taken before the daemon starts, by
// files, links, FIFOs or folders of their own. That is possible in a shared folder such as /tmp,
// which is sticky and owned by root. In any other folder the functions for names do nothing.
//
// What is not the daemon's user's is removed, a folder with its content, and made anew. That
// happens under a random name, which then replaces the other, so nobody can take the name in
// between. Nothing here follows a link or enters another mount.
//
// The platform library uses this module too, so it neither logs nor has state.
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

// The user that the daemon runs as, and his group.
struct Owner {
    uid_t user;
    gid_t group;
};

// Receives a line, without its end, for each name that another user had taken, or still has.
using ClaimLog = void (*)(const std::string& line);

// Claims the name of a file, and that of the temporary file with which replacePublicFile writes it.
// A new file is empty and has this mode, without one 0666 minus the umask. An absent one stays
// absent.
void claimFile(const std::string& path, const Owner& owner, std::optional<mode_t> mode,
               ClaimLog log);

// Claims the name of a folder. A new one has mode 0755. An absent one stays absent.
void claimFolder(const std::string& path, const Owner& owner, ClaimLog log);

// Makes a new FIFO with mode 0600, also if there is one.
void claimFifo(const std::string& path, const Owner& owner, ClaimLog log);

// Makes the user the owner of a folder, and of the regular files in it that have one name. False if
// that fails, or if it is no folder.
[[nodiscard]] bool handOverFolder(const std::string& folder, const Owner& owner);

// Gives a file or folder of root to the user. With a mode, makes a file if there is none. Leaves
// anything else alone, such as a link or a file with a second name, and whatever is in a folder to
// which others can write: they may have put it there. False if the user then has no such file and
// cannot make it.
bool handOver(const std::string& path, const Owner& owner, std::optional<mode_t> mode = {});
