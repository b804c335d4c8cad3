#include "common/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "base/fd.h"

std::string readFile(const std::string& path, size_t most, Links links) {
    const int noFollow = links == Links::kRefuse ? O_NOFOLLOW : 0;
    const Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | noFollow));
    if (!file) return {};
    std::string text(most, '\0');
    size_t size = 0;
    while (size < most) {
        const ssize_t n = read(file.get(), text.data() + size, most - size);
        if (n <= 0) break;
        size += static_cast<size_t>(n);
    }
    text.resize(size);
    return text;
}

std::string ownFolder() {
    const char* given = secure_getenv("VM1905_RUN");
    return given != nullptr ? given : "/var/run/vm1905";
}

bool makeOwnFolder() {
    const std::string folder = ownFolder();
    (void)mkdir(folder.c_str(), 0755);
    struct stat info {};
    return lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
           (info.st_uid == 0 || info.st_uid == geteuid()) &&
           (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}
