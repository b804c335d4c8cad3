// The daemon's own folder, and who may own the service channel. The clients use this header too, so
// it includes nothing else of the daemon.
#pragma once

#include <sys/shm.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

// /var/run/vm1905, or the folder that the environment variable VM1905_RUN names.
inline std::string ownFolder() {
    const char* given = secure_getenv("VM1905_RUN");
    return given != nullptr ? given : "/var/run/vm1905";
}

// The owner of that folder. std::nullopt if there is no such folder, or if users other than root
// and this one could have made it.
inline std::optional<uid_t> ownFolderOwner() {
    const std::string folder = ownFolder();
    const size_t slash = folder.find_last_of('/');
    const std::string parent = slash == folder.npos ? "." : folder.substr(0, slash + 1);
    struct stat above {};
    struct stat info {};
    const bool isSafe = stat(parent.c_str(), &above) == 0 &&
                        (above.st_uid == 0 || above.st_uid == geteuid()) &&
                        (above.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    if (!isSafe || lstat(folder.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) return {};
    return info.st_uid;
}

// Whether a segment that this user has made can be the daemon's: root, the user of this process, or
// the owner of the daemon's folder, which root makes.
inline bool mayMakeChannel(uid_t creator) {
    return creator == 0 || creator == geteuid() || creator == ownFolderOwner();
}

// The record of a segment, also of one that this process may not read. False if there is none.
inline bool statSegment(int id, shmid_ds& info) {
    if (shmctl(id, IPC_STAT, &info) == 0) return true;
    constexpr int kIndex = 0x7fff;  // the lower bits of an id are the segment's index
    return shmctl(id & kIndex, SHM_STAT_ANY, &info) == id;
}
