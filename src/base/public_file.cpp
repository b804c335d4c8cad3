#include "base/public_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <vector>

namespace {

constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;

std::string reason() {
    return strerror(errno);
}

Fd openFolder(int parent, const std::string& folder, FileTrouble& trouble) {
    Fd fd(openat(parent, folder.c_str(), O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!fd || fstat(fd.get(), &info) != 0) {
        const bool isOther = errno == ENOTDIR || errno == ELOOP;
        trouble = "folder " + folder + (isOther ? " is a link or no folder" : ": " + reason());
        return Fd();
    }
    const bool isOwn = info.st_uid == geteuid() && (info.st_mode & kOthersWrite) == 0;
    if (isSharedFolder(info) || isOwn) return fd;
    trouble = "folder " + folder + " belongs to another user or is writable by others";
    return Fd();
}

bool isOwnFile(const struct stat& info) {
    return S_ISREG(info.st_mode) && info.st_uid == geteuid() && info.st_nlink == 1;
}

constexpr const char* kNotOwn = "it is a link or special file, has a second name or another owner";

FileTrouble writeAll(const Fd& file, std::span<const std::string_view> pieces) {
    constexpr size_t kMostAtOnce = 1024;
    std::vector<iovec> left;
    left.reserve(pieces.size());
    for (const auto& piece : pieces) {
        if (!piece.empty()) left.push_back({const_cast<char*>(piece.data()), piece.size()});
    }
    for (size_t i = 0; i < left.size();) {
        const auto count = static_cast<int>(std::min(left.size() - i, kMostAtOnce));
        const ssize_t result = writev(file.get(), &left[i], count);
        if (result < 0 && errno == EINTR) continue;
        if (result <= 0) return reason();
        auto written = static_cast<size_t>(result);
        for (; i < left.size() && written >= left[i].iov_len; i++) written -= left[i].iov_len;
        if (written == 0) continue;
        left[i].iov_base = static_cast<char*>(left[i].iov_base) + written;
        left[i].iov_len -= written;
    }
    return {};
}

}  // namespace

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    return path;
}

Place placeOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    if (slash == path.npos) return {".", path};
    return {withoutSlash(path.substr(0, slash + 1)), path.substr(slash + 1)};
}

bool isSharedFolder(const struct stat& info) {
    return info.st_uid == 0 && (info.st_mode & S_ISVTX) != 0;
}

std::string temporaryName(const std::string& name) {
    return "." + name + ".new";
}

FileTrouble checkPublicFolder(const std::string& folder) {
    FileTrouble trouble;
    (void)openFolder(AT_FDCWD, withoutSlash(folder), trouble);
    return trouble;
}

FileTrouble makePublicFolder(const std::string& folder) {
    FileTrouble trouble;
    const Place place = placeOf(withoutSlash(folder));
    const Fd parent = openFolder(AT_FDCWD, place.folder, trouble);
    if (!parent) return trouble;
    if (mkdirat(parent.get(), place.name.c_str(), 0755) != 0 && errno != EEXIST) return reason();
    (void)openFolder(parent.get(), place.name, trouble);
    return trouble;
}

FileTrouble replacePublicFile(const std::string& path, std::span<const std::string_view> pieces,
                              std::optional<mode_t> mode) {
    FileTrouble trouble;
    const Place place = placeOf(path);
    const Fd folder = openFolder(AT_FDCWD, place.folder, trouble);
    if (!folder) return trouble;
    struct stat old {};
    const bool exists = fstatat(folder.get(), place.name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
    if (exists ? !isOwnFile(old) : errno != ENOENT) return exists ? kNotOwn : reason();

    // A crash may have left one. O_EXCL: nobody else must have made it.
    const std::string temporary = temporaryName(place.name);
    (void)unlinkat(folder.get(), temporary.c_str(), 0);
    const Fd file(openat(folder.get(), temporary.c_str(),
                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                         exists || mode ? 0600 : 0666));
    if (!file) return reason();
    if (!exists && mode) (void)fchmod(file.get(), *mode);
    if (exists) {
        // Meant: a group that this user may not give away is lost, with no access for the new one.
        const bool sameGroup = fchown(file.get(), static_cast<uid_t>(-1), old.st_gid) == 0;
        (void)fchmod(file.get(), mode.value_or(old.st_mode) & (sameGroup ? 0777 : 0707));
    }
    trouble = writeAll(file, pieces);
    if (trouble.empty() &&
        renameat(folder.get(), temporary.c_str(), folder.get(), place.name.c_str()) != 0) {
        trouble = reason();
    }
    if (!trouble.empty()) (void)unlinkat(folder.get(), temporary.c_str(), 0);
    return trouble;
}

FileTrouble appendPublicFile(const std::string& path, std::string_view text) {
    FileTrouble trouble;
    const Fd file = openPublicFile(path, O_WRONLY | O_APPEND | O_CREAT, 0666, trouble);
    return file ? writeAll(file, {&text, 1}) : trouble;
}

Fd openPublicFile(const std::string& path, int flags, mode_t mode, FileTrouble& trouble) {
    const Place place = placeOf(path);
    const Fd folder = openFolder(AT_FDCWD, place.folder, trouble);
    if (!folder) return Fd();
    Fd file(openat(folder.get(), place.name.c_str(), flags | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC,
                   mode));
    struct stat info {};
    if (file && fstat(file.get(), &info) == 0 && isOwnFile(info)) return file;
    trouble = file ? kNotOwn : reason();
    return Fd();
}

void removePublicFiles(const std::string& folder, std::string_view beginning) {
    // Collected first, because removing while reading a folder may skip entries.
    std::vector<std::filesystem::path> found;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
        if (entry->path().filename().string().starts_with(beginning)) found.push_back(*entry);
    }
    for (const auto& path : found) std::filesystem::remove_all(path, error);
}
