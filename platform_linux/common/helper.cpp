#include "common/helper.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/time.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fstream>

#include "common/log.h"

extern char** environ;

namespace {

constexpr size_t kMostPacket = size_t{160} * 1024;
constexpr size_t kMostFds = 3;
constexpr timeval kReplyLimit{10, 0};  // a device under load may be slow
constexpr int kLimitPeriod = 1000;     // ms
constexpr uid_t kNobody = 65534;

struct {
    bool confined = false;
    Fd socket;  // to the helper; none in processes that it has forked, or after its end
    uid_t user = 0;
    gid_t group = 0;
} helper;

Processes& ownProcesses() {
    static Processes processes(false);
    return processes;
}

struct Packet {
    std::vector<char> bytes;
    std::array<Fd, kMostFds> fds;
    size_t fdNum = 0;
};

// None at the end of the other side. A packet that is too long, or has too many descriptors, is
// empty.
std::optional<Packet> receive(int socket) {
    Packet packet;
    packet.bytes.resize(kMostPacket);
    iovec part{packet.bytes.data(), packet.bytes.size()};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMostFds)];
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t size = -1;
    do {
        size = recvmsg(socket, &message, MSG_CMSG_CLOEXEC);
    } while (size < 0 && errno == EINTR);
    if (size <= 0) return std::nullopt;
    for (cmsghdr* c = CMSG_FIRSTHDR(&message); c != nullptr; c = CMSG_NXTHDR(&message, c)) {
        if (c->cmsg_level != SOL_SOCKET || c->cmsg_type != SCM_RIGHTS) continue;
        for (size_t at = 0; at + sizeof(int) <= c->cmsg_len - CMSG_LEN(0); at += sizeof(int)) {
            int number = -1;
            memcpy(&number, CMSG_DATA(c) + at, sizeof number);
            // The buffer is aligned, so it has room for one more than the most.
            Fd fd(number);
            if (packet.fdNum < kMostFds) packet.fds[packet.fdNum] = std::move(fd);
            packet.fdNum++;
        }
    }
    const bool whole =
        (message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) == 0 && packet.fdNum <= kMostFds;
    packet.bytes.resize(whole ? static_cast<size_t>(size) : 0);
    return packet;
}

bool send(int socket, const void* bytes, size_t size, const std::vector<int>& fds, int flags) {
    iovec part{const_cast<void*>(bytes), size};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int) * kMostFds)] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    if (!fds.empty()) {
        message.msg_control = control;
        message.msg_controllen = CMSG_SPACE(sizeof(int) * fds.size());
        cmsghdr* const c = CMSG_FIRSTHDR(&message);
        c->cmsg_level = SOL_SOCKET;
        c->cmsg_type = SCM_RIGHTS;
        c->cmsg_len = CMSG_LEN(sizeof(int) * fds.size());
        memcpy(CMSG_DATA(c), fds.data(), sizeof(int) * fds.size());
    }
    return sendmsg(socket, &message, flags | MSG_NOSIGNAL) == static_cast<ssize_t>(size);
}

// Each argument ends with a NUL. None if the last one does not.
std::optional<Arguments> splitArguments(std::string_view text) {
    if (!text.empty() && text.back() != '\0') return std::nullopt;
    Arguments args;
    while (!text.empty()) {
        args.emplace_back(text.substr(0, text.find('\0')));
        text.remove_prefix(args.back().size() + 1);
    }
    return args;
}

// In the helper: carries out a packet of the daemon.
HelperReply carryOut(Processes& processes, const Packet& packet) {
    HelperRequest request{};
    if (packet.bytes.size() < sizeof request) return {EINVAL, 0, 0};
    memcpy(&request, packet.bytes.data(), sizeof request);
    switch (request.kind) {
        case HelperRequest::kCanStart:
            return {processes.canStart(request.program) ? 0 : ENOENT, 0, 0};
        case HelperRequest::kKill:
            processes.kill(request.handle);
            return {};
        case HelperRequest::kCollect: {
            int status = 0;
            const int error = processes.collect(request.handle, status);
            return {error, status, 0};
        }
        case HelperRequest::kStart:
            break;
        default:
            return {EINVAL, 0, 0};
    }
    auto args = splitArguments(
        {packet.bytes.data() + sizeof request, packet.bytes.size() - sizeof request});
    Launch launch{.program = request.program, .quiet = request.quiet != 0};
    size_t fdNum = 0;
    for (int* fd : {&launch.out, &launch.in, &launch.file}) {
        if ((request.has & 1) != 0) {
            *fd = fdNum < packet.fdNum ? packet.fds[fdNum].get() : -1;
            fdNum++;
        }
        request.has >>= 1;
    }
    if (!args || fdNum != packet.fdNum || request.has != 0) return {EINVAL, 0, 0};
    launch.args = std::move(*args);
    const Handle handle = processes.start(launch);
    return {handle == 0 ? errno : 0, 0, handle};
}

// What programs get: nothing that has come from the network, and nothing secret.
void keepEnvironment() {
    std::vector<std::string> kept;
    for (char** entry = environ; *entry != nullptr; entry++) {
        const std::string_view text(*entry);
        for (const char* name : {"PATH=", "TZ=", "VM1905_", "NOTIFY_SOCKET=", "WATCHDOG_USEC="}) {
            if (text.starts_with(name)) kept.emplace_back(text);
        }
    }
    clearenv();
    for (const std::string& entry : kept) {
        const size_t equals = entry.find('=');
        setenv(entry.substr(0, equals).c_str(), entry.substr(equals + 1).c_str(), 1);
    }
}

[[noreturn]] void serve(int socket) {
    Processes processes(true);
    for (;;) {
        pollfd waitFor{socket, POLLIN, 0};
        if (poll(&waitFor, 1, kLimitPeriod) > 0) {
            auto packet = receive(socket);
            if (!packet) _exit(0);
            const HelperReply reply = carryOut(processes, *packet);
            packet.reset();  // its descriptors are closed when the daemon goes on
            if (!send(socket, &reply, sizeof reply, {}, MSG_DONTWAIT)) _exit(1);
        }
        processes.enforceLimits();
    }
}

// In the daemon: sends a request and waits for its reply. A helper that does not answer has ended.
HelperReply ask(HelperRequest request, const Launch& launch = {}) {
    if (!helper.socket) return {EPIPE, 0, 0};
    std::vector<int> fds;
    uint8_t bit = 1;
    for (const int fd : {launch.out, launch.in, launch.file}) {
        if (fd >= 0) {
            fds.push_back(fd);
            request.has |= bit;
        }
        bit = static_cast<uint8_t>(bit << 1);
    }
    std::string packet(reinterpret_cast<const char*>(&request), sizeof request);
    for (const std::string& arg : launch.args) packet.append(arg).push_back('\0');
    if (packet.size() > kMostPacket) return {E2BIG, 0, 0};
    HelperReply reply{};
    if (!send(helper.socket.get(), packet.data(), packet.size(), fds, MSG_DONTWAIT)) {
        // A packet that cannot be sent must not end the helper.
        if (errno != EPIPE && errno != ECONNRESET) return {errno, 0, 0};
    } else if (const auto answer = receive(helper.socket.get());
               answer && answer->bytes.size() == sizeof reply) {
        memcpy(&reply, answer->bytes.data(), sizeof reply);
        return reply;
    }
    LOG_LINE(1,
             "the process that runs programs has ended: hooks fail until the daemon is restarted");
    helper.socket = Fd();
    return {EPIPE, 0, 0};
}

}  // namespace

pid_t forkHelper(Fd end, uid_t user, gid_t group) {
    fflush(stdout);
    const pid_t pid = fork();
    if (pid != 0) return pid;
    helper = {.confined = true, .socket = Fd(), .user = user, .group = group};
    // The numbers of the other descriptors are unknown here.
    constexpr int kSocket = STDERR_FILENO + 1;
    if (dup2(end.get(), kSocket) < 0 || fcntl(kSocket, F_SETFD, FD_CLOEXEC) != 0) _exit(1);
    closeFrom(kSocket + 1);
    (void)prctl(PR_SET_NAME, "vm1905-helper");
    keepEnvironment();
    serve(kSocket);
}

bool startHelper(uid_t user, gid_t group) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return false;
    helper = {.confined = true, .socket = Fd(ends[0]), .user = user, .group = group};
    (void)setsockopt(ends[0], SOL_SOCKET, SO_RCVTIMEO, &kReplyLimit, sizeof kReplyLimit);
    constexpr int kRoom = 2 * kMostPacket;  // the usual room may be smaller than the largest packet
    (void)setsockopt(ends[0], SOL_SOCKET, SO_SNDBUFFORCE, &kRoom, sizeof kRoom);
    return forkHelper(Fd(ends[1]), user, group) > 0;
}

bool isConfined() {
    return helper.confined;
}

HelperUser helperUser() {
    return {helper.user, helper.group};
}

bool canBecome(uid_t user) {
    std::ifstream map("/proc/self/uid_map");
    bool isMapped = !map;  // a kernel without user namespaces
    uint64_t inside = 0, outside = 0, count = 0;
    while (map >> inside >> outside >> count) {
        isMapped = isMapped || (inside <= user && user < inside + count);
    }
    return isMapped && geteuid() == 0;
}

bool dropRights() {
    // Whatever runs as the daemon's user can be changed by a daemon that has been taken over.
    const uid_t user = helper.user != kNobody ? kNobody : kNobody - 1;
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return false;
    if (canBecome(user) && (setgroups(0, nullptr) != 0 || setresgid(user, user, user) != 0 ||
                            setresuid(user, user, user) != 0)) {
        return false;
    }
    // The kernel also removes from the ambient set what is no longer permitted.
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[2] = {};
    return syscall(SYS_capset, &header, none) == 0 && prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0;
}

Handle startProgram(const Launch& launch) {
    if (!helper.confined) return ownProcesses().start(launch);
    HelperRequest request{};
    request.kind = HelperRequest::kStart;
    request.program = launch.program;
    request.quiet = launch.quiet ? 1 : 0;
    const HelperReply reply = ask(request, launch);
    errno = reply.error;
    return reply.error == 0 ? reply.handle : 0;
}

bool canStartProgram(uint8_t program) {
    if (!helper.confined) return ownProcesses().canStart(program);
    return ask({HelperRequest::kCanStart, program, 0, 0, 0, 0}).error == 0;
}

int collectProgram(Handle handle, int& status) {
    if (!helper.confined) return ownProcesses().collect(handle, status);
    const HelperReply reply = ask({HelperRequest::kCollect, 0, 0, 0, 0, handle});
    status = reply.status;
    return reply.error;
}

void killProgram(Handle handle) {
    if (!helper.confined) return ownProcesses().kill(handle);
    (void)ask({HelperRequest::kKill, 0, 0, 0, 0, handle});
}
