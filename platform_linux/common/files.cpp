#include "common/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "base/own_folder.h"
#include "base/public_file.h"

namespace {

bool isPublic(const std::string& path) {
    return (path + "/").starts_with("/tmp/");
}

}  // namespace

std::string readFile(const std::string& path, size_t most, Links links) {
    const int noFollow = links == Links::kRefuse ? O_NOFOLLOW : 0;
    const Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | noFollow));
    return file ? readFile(file, most) : "";
}

std::string readFile(const Fd& file, size_t most) {
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

bool makeOwnFolder() {
    const std::string folder = ownFolder();
    (void)mkdir(folder.c_str(), 0755);
    struct stat info {};
    return lstat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
           (info.st_uid == 0 || info.st_uid == geteuid()) &&
           (info.st_mode & (S_IWGRP | S_IWOTH)) == 0;
}

Fd openOwnFile(const std::string& path, int flags, mode_t mode) {
    FileTrouble trouble;
    if (isPublic(path)) return openPublicFile(path, flags, mode, trouble);
    return Fd(open(path.c_str(), flags | O_CLOEXEC | O_NOFOLLOW, mode));
}

bool writeOwnFile(const std::string& path, std::string_view text) {
    if (isPublic(path)) return replacePublicFile(path, text).empty();
    std::ofstream file(path);
    return static_cast<bool>(file << text << std::flush);
}

bool writeSecretFile(const std::string& path, std::string_view text) {
    const std::string fresh = path + ".new";
    (void)unlink(fresh.c_str());
    const Fd file = openOwnFile(fresh, O_WRONLY | O_CREAT | O_EXCL, 0600);
    return file && write(file.get(), text.data(), text.size()) == ssize_t(text.size()) &&
           fsync(file.get()) == 0 && rename(fresh.c_str(), path.c_str()) == 0;
}

bool isSafeFolder(const std::string& folder) {
    return !isPublic(folder) || checkPublicFolder(folder).empty();
}
