#include "base/claimed_name.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <memory>
#include <vector>

#include "base/fd.h"
#include "base/public_file.h"

namespace {

constexpr int kFolderFlags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
// No more entries are removed from a folder, so that the start cannot last forever.
constexpr int kMostEntries = 1'000'000;
constexpr size_t kEntriesAtOnce = 1000;

// A name in a folder in which every user may create files.
struct SharedName {
    explicit SharedName(const std::string& path) : place(placeOf(withoutSlash(path))) {
        Fd opened(open(place.folder.c_str(), kFolderFlags));
        struct stat info {};
        if (opened && fstat(opened.get(), &info) == 0 && isSharedFolder(info)) {
            folder = std::move(opened);
        }
    }
    const char* name() const { return place.name.c_str(); }
    std::string path() const { return place.folder + "/" + place.name; }
    // What has the name, without following a link. False if nothing has.
    bool look(struct stat& info) const {
        return fstatat(folder.get(), name(), &info, AT_SYMLINK_NOFOLLOW) == 0;
    }

    Place place;
    Fd folder;  // empty if the folder is not shared
};

std::vector<std::string> someEntries(int folder) {
    std::vector<std::string> names;
    const int again = openat(folder, ".", kFolderFlags);
    const std::unique_ptr<DIR, int (*)(DIR*)> list(again < 0 ? nullptr : fdopendir(again),
                                                   closedir);
    while (list && names.size() < kEntriesAtOnce) {
        const dirent* entry = readdir(list.get());
        if (entry == nullptr) break;
        const std::string name = entry->d_name;
        if (name != "." && name != "..") names.push_back(name);
    }
    return names;
}

// Removes a folder and its content. Folders in folders are first moved up, so that no depth needs
// more descriptors.
class Removal {
  public:
    Removal(int parent, const char* name) : parent_(parent), name_(name) {}

    // 0 or an error number.
    int run() {
        if (isMount(parent_, name_)) return EBUSY;
        top_ = Fd(openat(parent_, name_, kFolderFlags));
        if (!top_) return errno;
        // So that its owner adds no further names; without the rights for it, nothing is removed.
        (void)fchown(top_.get(), geteuid(), getegid());
        (void)fchmod(top_.get(), 0700);
        const int error = empty(top_.get());
        if (error != 0) return error;
        return unlinkat(parent_, name_, AT_REMOVEDIR) == 0 ? 0 : errno;
    }

  private:
    static bool isMount(int folder, const char* name) {
        struct statx info {};
        return statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, STATX_TYPE, &info) == 0 &&
               (info.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
    }

    int empty(int folder) {
        for (;;) {
            const auto names = someEntries(folder);
            if (names.empty()) return 0;
            for (const auto& name : names) {
                if (left_-- <= 0) return EFBIG;
                const int error = removeEntry(folder, name.c_str());
                if (error != 0) return error;
            }
        }
    }

    int removeEntry(int folder, const char* name) {
        if (unlinkat(folder, name, 0) == 0 || errno == ENOENT) return 0;
        if (errno != EISDIR && errno != EPERM) return errno;
        if (unlinkat(folder, name, AT_REMOVEDIR) == 0) return 0;
        if (errno != ENOTEMPTY && errno != EEXIST) return errno;
        if (folder != top_.get()) {
            // Nobody must be able to take the name before.
            uint64_t number = 0;
            (void)getrandom(&number, sizeof number, 0);
            const std::string moved = ".moved" + std::to_string(number);
            return renameat(folder, name, top_.get(), moved.c_str()) == 0 ? 0 : errno;
        }
        if (isMount(folder, name)) return EBUSY;
        const Fd sub(openat(folder, name, kFolderFlags));
        return sub ? empty(sub.get()) : errno;
    }

    int parent_;
    const char* name_;
    Fd top_;
    int left_ = kMostEntries;
};

// Removes what has the name, and logs it if it was another user's. Whether the name is free.
bool removeName(const SharedName& shared, const std::string& path, const struct stat& info,
                const Owner& owner, ClaimLog log) {
    int error = 0;
    if (S_ISDIR(info.st_mode)) {
        error = Removal(shared.folder.get(), shared.name()).run();
    } else if (unlinkat(shared.folder.get(), shared.name(), 0) != 0) {
        error = errno;
    }
    const std::string who = "user " + std::to_string(info.st_uid);
    if (error != 0) {
        log("can't remove " + path + ", which belongs to " + who + ": " + strerror(error));
    } else if (info.st_uid != 0 && info.st_uid != owner.user) {
        log("removed " + path + ", which belonged to " + who);
    }
    return error == 0;
}

bool isPlainFile(const struct stat& info) {
    return S_ISREG(info.st_mode) && info.st_nlink == 1;
}

// Gives a regular file to the user. Whether it is his now.
bool handOverEntry(int folder, const char* name, const Owner& owner) {
    const Fd fd(openat(folder, name, O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
    struct stat info {};
    if (!fd || fstat(fd.get(), &info) != 0 || !isPlainFile(info)) return false;
    return info.st_uid == owner.user || fchown(fd.get(), owner.user, static_cast<gid_t>(-1)) == 0;
}

}  // namespace

void claimFile(const std::string& path, const Owner& owner, std::optional<mode_t> mode,
               ClaimLog log) {
    const SharedName shared(path);
    if (!shared.folder) return;
    (void)freeName(shared.place.folder + "/" + temporaryName(shared.place.name), owner, log);
    struct stat info {};
    if (!shared.look(info)) return;
    if (isPlainFile(info) && info.st_uid == owner.user) return;
    if (isPlainFile(info) && info.st_uid == 0 &&
        handOverEntry(shared.folder.get(), shared.name(), owner)) {
        return;
    }
    if (!removeName(shared, path, info, owner, log)) return;
    const Fd made(openat(shared.folder.get(), shared.name(),
                         O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode ? 0600 : 0666));
    if (made && fchown(made.get(), owner.user, owner.group) == 0 && mode) {
        (void)fchmod(made.get(), *mode);
    }
}

void claimFolder(const std::string& path, const Owner& owner, ClaimLog log) {
    const SharedName shared(path);
    struct stat info {};
    if (!shared.folder || !shared.look(info)) return;
    if (S_ISDIR(info.st_mode) && info.st_uid == owner.user) return;
    if (S_ISDIR(info.st_mode) && info.st_uid == 0 && handOverFolder(shared.path(), owner)) return;
    if (!removeName(shared, path, info, owner, log)) return;
    if (mkdirat(shared.folder.get(), shared.name(), 0755) == 0)
        (void)handOverFolder(shared.path(), owner);
}

bool freeName(const std::string& path, const Owner& owner, ClaimLog log) {
    const SharedName shared(path);
    struct stat info {};
    if (!shared.folder) return lstat(path.c_str(), &info) != 0 && errno == ENOENT;
    return !shared.look(info) || removeName(shared, path, info, owner, log);
}

bool handOverFolder(const std::string& folder, const Owner& owner) {
    const Fd opened(open(folder.c_str(), kFolderFlags));
    struct stat info {};
    if (!opened || fstat(opened.get(), &info) != 0) return false;
    if (info.st_uid == owner.user) return true;
    for (const auto& name : someEntries(opened.get())) {
        (void)handOverEntry(opened.get(), name.c_str(), owner);
    }
    return fchown(opened.get(), owner.user, owner.group) == 0;
}

void handOver(const std::string& path, const Owner& owner) {
    const Place place = placeOf(withoutSlash(path));
    const Fd folder(open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat info {};
    if (!folder || fstat(folder.get(), &info) != 0 || info.st_uid != 0 ||
        (info.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        return;
    }
    const Fd file(openat(folder.get(), place.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (!file || fstat(file.get(), &info) != 0 || info.st_uid != 0) return;
    if (!S_ISDIR(info.st_mode) && (!S_ISREG(info.st_mode) || info.st_nlink != 1)) return;
    (void)fchownat(file.get(), "", owner.user, owner.group, AT_EMPTY_PATH);
}
