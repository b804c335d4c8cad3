#include "daemon_process.h"

#include <fcntl.h>
#include <net/if.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "base/own_folder.h"
#include "data_model.h"

namespace {

// The process that has the lock of this IPC namespace; 0 if there is none, or none can be seen.
pid_t lockOwner() {
    const std::string path = ownFolder() + "/daemon.lock";
    const int fd = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) return 0;
    struct stat space {};
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    lock.l_len = 1;
    const bool isKnown = stat("/proc/self/ns/ipc", &space) == 0 &&
                         (lock.l_start = static_cast<off_t>(space.st_ino)) != 0 &&
                         fcntl(fd, F_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
    close(fd);
    return isKnown ? lock.l_pid : 0;
}

bool isDaemon(pid_t pid) {
    // A process of another PID namespace has one more number there.
    std::istringstream numbers(processStatus(pid, "NSpid"));
    const auto count = std::distance(std::istream_iterator<std::string>(numbers),
                                     std::istream_iterator<std::string>());
    return processStatus(pid, "Name") == "vm1905" && count <= 1;
}

// The inodes of its sockets; std::nullopt if this user may not see them.
std::optional<std::set<std::string>> socketsOf(pid_t pid) {
    std::error_code error;
    std::filesystem::directory_iterator files("/proc/" + std::to_string(pid) + "/fd", error);
    if (error) return std::nullopt;
    std::set<std::string> inodes;
    for (const auto& file : files) {
        const std::string target = std::filesystem::read_symlink(file.path(), error);
        if (target.starts_with("socket:[")) inodes.insert(target.substr(8, target.size() - 9));
    }
    return inodes;
}

// The indexes of the interfaces on which such a socket receives.
std::set<unsigned> interfacesWithSocket(pid_t pid) {
    const auto sockets = socketsOf(pid);
    std::set<unsigned> indexes;
    std::ifstream file("/proc/net/packet");
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string address, users, type, protocol, running, memory, user, inode;
        unsigned index = 0;
        fields >> address >> users >> type >> protocol >> index >> running >> memory >> user >>
            inode;
        if (sockets && !sockets->contains(inode)) continue;
        // On the ports of a bridge the daemon receives all protocols and filters.
        if (protocol == "893a" || protocol == "0003") indexes.insert(index);
    }
    return indexes;
}

}  // namespace

std::string processStatus(pid_t pid, const std::string& key) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with(key + ":")) continue;
        const size_t value = line.find_first_not_of(" \t", key.size() + 1);
        return value == std::string::npos ? "" : line.substr(value);
    }
    return {};
}

std::vector<pid_t> daemonProcesses() {
    std::vector<pid_t> found;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc", error)) {
        const std::string name = entry.path().filename();
        pid_t pid = 0;
        const auto [end, failure] = std::from_chars(name.data(), name.data() + name.size(), pid);
        if (failure == std::errc() && end == name.data() + name.size() && isDaemon(pid)) {
            found.push_back(pid);
        }
    }
    // A child that has not yet become another program has the name of its parent.
    const std::vector<pid_t> all = found;
    std::erase_if(found, [&](pid_t pid) {
        return std::ranges::any_of(all, [parent = processStatus(pid, "PPid")](pid_t other) {
            return parent == std::to_string(other);
        });
    });
    const pid_t owner = lockOwner();
    if (owner > 0) {
        std::erase(found, owner);
        found.insert(found.begin(), owner);
    }
    return found;
}

std::optional<int64_t> uptimeOf(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(file, text);
    // The name of the program may have blanks. The start is the 20th number behind it.
    const size_t name = text.rfind(')');
    if (name == std::string::npos) return std::nullopt;
    std::istringstream rest(text.substr(name + 1));
    std::string skipped;
    for (int i = 0; i < 19; i++) rest >> skipped;
    double ticks = 0, sinceBoot = 0;
    if (!(rest >> ticks) || !(std::ifstream("/proc/uptime") >> sinceBoot)) return std::nullopt;
    const double started = ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
    return static_cast<int64_t>(std::max(0.0, sinceBoot - started));
}

std::string versionOf(pid_t pid) {
    std::string text;
    const std::string start = std::to_string(pid) + " ";
    const bool isRead = readDaemonFile(ownFolder() + "/daemon.lock", text).empty();
    if (!isRead || !text.starts_with(start)) return {};
    return text.substr(start.size(), text.find('\n') - start.size());
}

size_t openPorts(const std::vector<std::string>& names, pid_t pid) {
    const auto open = interfacesWithSocket(pid);
    return static_cast<size_t>(std::ranges::count_if(names, [&](const std::string& name) {
        const unsigned index = if_nametoindex(name.c_str());
        return index != 0 && open.contains(index);
    }));
}
