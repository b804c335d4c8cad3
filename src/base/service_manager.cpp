#include "base/service_manager.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "base/fd.h"

bool hasServiceManager() {
    return secure_getenv("NOTIFY_SOCKET") != nullptr;
}

void notifyServiceManager(const std::string& message) {
    const char* const path = secure_getenv("NOTIFY_SOCKET");
    sockaddr_un to{};
    if (path == nullptr || *path == '\0' || strlen(path) >= sizeof to.sun_path) return;
    to.sun_family = AF_UNIX;
    memcpy(to.sun_path, path, strlen(path));
    if (*path == '@') to.sun_path[0] = '\0';  // a name without a file
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + strlen(path));
    const Fd fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    // Without waiting: a service manager that does not read must not stop the daemon.
    (void)sendto(fd.get(), message.data(), message.size(), MSG_NOSIGNAL | MSG_DONTWAIT,
                 reinterpret_cast<const sockaddr*>(&to), length);
}

void becomeNextDaemon() {
    std::vector<std::string> words{"/usr/sbin/vm1905", "restart"};
    if (hasServiceManager()) {
        const char* const options = secure_getenv("VM1905_OPTIONS");
        constexpr const char* kBlanks = " \t\n";
        for (const char* at = options != nullptr ? options : "";
             *(at += strspn(at, kBlanks)) != 0;) {
            const size_t length = strcspn(at, kBlanks);
            words.emplace_back(at, length);
            at += length;
        }
        notifyServiceManager("MAINPID=" + std::to_string(getpid()));
    }
    std::vector<char*> args;
    for (std::string& word : words) args.push_back(word.data());
    args.push_back(nullptr);
    execv(args[0], args.data());
}

void awaitNextDaemon(int pipeEnd) {
    constexpr int kLimit = 5000;  // ms
    pollfd end{pipeEnd, POLLIN, 0};
    (void)poll(&end, 1, kLimit);  // exec closes the other end
}
