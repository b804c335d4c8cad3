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

#ifndef STATX_ATTR_MOUNT_ROOT  // musl has statx, but not this bit of the kernel
#define STATX_ATTR_MOUNT_ROOT 0x2000
#endif

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

// Nobody can take it before we do.
std::string randomName() {
    uint64_t number = 0;
    (void)!getrandom(&number, sizeof number, 0);
    return ".vm1905_" + std::to_string(number);
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
        (void)!fchown(top_.get(), geteuid(), getegid());
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
            return renameat(folder, name, top_.get(), randomName().c_str()) == 0 ? 0 : errno;
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

// 0 or an error number.
int removeName(const SharedName& shared, const struct stat& info) {
    if (S_ISDIR(info.st_mode)) return Removal(shared.folder.get(), shared.name()).run();
    return unlinkat(shared.folder.get(), shared.name(), 0) == 0 ? 0 : errno;
}

constexpr int kTries = 100;  // another user may make a folder again as soon as it is removed

// Gives the new file or folder the shared name, also if something has it. 0 or an error number.
int putInPlace(const SharedName& shared, const char* made) {
    const int folder = shared.folder.get();
    int error = 0;
    for (int i = 0; i < kTries; i++) {
        if (renameat(folder, made, folder, shared.name()) == 0) return 0;
        error = errno;
        // A rename replaces files and links by a file, and only empty folders by a folder.
        if (error != EISDIR && error != ENOTDIR && error != ENOTEMPTY && error != EEXIST) break;
        struct stat info {};
        const int removed = shared.look(info) ? removeName(shared, info) : 0;
        if (removed != 0 && removed != ENOENT) return removed;
    }
    return error;
}

void logRemoval(const std::string& path, const struct stat& info, const Owner& owner, int error,
                ClaimLog log) {
    const std::string who = "user " + std::to_string(info.st_uid);
    if (error != 0) {
        log("can't remove " + path + ", which belongs to " + who + ": " + strerror(error));
    } else if (info.st_uid != owner.user) {
        log("removed " + path + ", which belonged to " + who);
    }
}

// Makes it anew, under a random name first: make(folder, name) says whether that worked.
template <typename Make>
void replaceName(const SharedName& shared, const std::string& path, const Owner& owner,
                 ClaimLog log, Make make) {
    const int folder = shared.folder.get();
    const std::string made = randomName();
    struct stat info {};
    const bool exists = shared.look(info);
    const int error = make(folder, made.c_str()) ? putInPlace(shared, made.c_str()) : errno;
    if (error != 0 && unlinkat(folder, made.c_str(), 0) != 0) {
        (void)unlinkat(folder, made.c_str(), AT_REMOVEDIR);
    }
    if (exists) {
        logRemoval(path, info, owner, error, log);
    } else if (error != 0) {
        log("can't make " + path + ": " + strerror(error));
    }
}

}  // namespace

void claimFile(const std::string& path, const Owner& owner, std::optional<mode_t> mode,
               ClaimLog log) {
    const SharedName shared(path);
    if (!shared.folder) return;
    const SharedName temporary(shared.place.folder + "/" + temporaryName(shared.place.name));
    struct stat info {};
    if (temporary.folder && temporary.look(info)) {
        logRemoval(temporary.path(), info, owner, removeName(temporary, info), log);
    }
    if (!shared.look(info)) return;
    if (S_ISREG(info.st_mode) && info.st_nlink == 1 && info.st_uid == owner.user) return;
    replaceName(shared, path, owner, log, [&](int folder, const char* name) {
        const Fd made(openat(folder, name, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                             mode ? 0600 : 0666));
        return made && fchown(made.get(), owner.user, owner.group) == 0 &&
               (!mode || fchmod(made.get(), *mode) == 0);
    });
}

void claimFolder(const std::string& path, const Owner& owner, ClaimLog log) {
    const SharedName shared(path);
    struct stat info {};
    if (!shared.folder || !shared.look(info)) return;
    if (S_ISDIR(info.st_mode) && info.st_uid == owner.user) return;
    replaceName(shared, path, owner, log, [&](int folder, const char* name) {
        return mkdirat(folder, name, 0755) == 0 &&
               fchownat(folder, name, owner.user, owner.group, AT_SYMLINK_NOFOLLOW) == 0;
    });
}

void claimFifo(const std::string& path, const Owner& owner, ClaimLog log) {
    const SharedName shared(path);
    if (!shared.folder) return;
    replaceName(shared, path, owner, log, [&](int folder, const char* name) {
        if (mkfifoat(folder, name, 0600) != 0) return false;
        if (fchownat(folder, name, owner.user, owner.group, AT_SYMLINK_NOFOLLOW) != 0) {
            log("can't give " + path + " to group " + std::to_string(owner.group) + ": " +
                strerror(errno));
        }
        return true;
    });
}

bool handOverFolder(const std::string& folder, const Owner& owner) {
    const Fd opened(open(folder.c_str(), kFolderFlags));
    struct stat info {};
    if (!opened || fstat(opened.get(), &info) != 0) return false;
    if (info.st_uid == owner.user) return true;
    for (const auto& name : someEntries(opened.get())) {
        const Fd fd(
            openat(opened.get(), name.c_str(), O_RDONLY | O_NONBLOCK | O_NOFOLLOW | O_CLOEXEC));
        if (fd && fstat(fd.get(), &info) == 0 && S_ISREG(info.st_mode) && info.st_nlink == 1) {
            (void)!fchown(fd.get(), owner.user, static_cast<gid_t>(-1));
        }
    }
    return fchown(opened.get(), owner.user, owner.group) == 0;
}

bool handOver(const std::string& path, const Owner& owner, std::optional<mode_t> mode) {
    const Place place = placeOf(withoutSlash(path));
    const char* const name = place.name.c_str();
    const Fd folder(open(place.folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    struct stat above {
    }, info{};
    if (!folder || fstat(folder.get(), &above) != 0) return false;
    const bool isRoots = above.st_uid == 0 && (above.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    if (isRoots && mode) {
        (void)Fd(openat(folder.get(), name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, *mode));
    }
    const Fd file(openat(folder.get(), name, O_PATH | O_NOFOLLOW | O_CLOEXEC));
    // Where the user can make files himself, an absent one is no trouble.
    if (!file) return !isRoots && (above.st_uid == owner.user || isSharedFolder(above));
    if (fstat(file.get(), &info) != 0) return false;
    if (!S_ISDIR(info.st_mode) && (!S_ISREG(info.st_mode) || info.st_nlink != 1)) return false;
    if (info.st_uid == owner.user) return true;
    return isRoots && info.st_uid == 0 &&
           fchownat(file.get(), "", owner.user, owner.group, AT_EMPTY_PATH) == 0;
}
