// The helper of a confined daemon, asked by somebody who has taken the daemon over.
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>

#include "common/files.h"
#include "common/helper.h"
#include "support.h"

namespace {

const bool kIsRoot = geteuid() == 0;

uint8_t numberOf(const char* name) {
    return programNumber(name).value_or(255);
}

// The daemon's end of the socket.
class Attacker {
  public:
    Attacker() {
        int ends[2];
        EXPECT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
        socket = Fd(ends[0]);
        pid = forkHelper(Fd(ends[1]), 65534, 65534);
    }
    ~Attacker() {
        socket = Fd();
        EXPECT_EQ(waitpid(pid, nullptr, 0), pid) << "it ends with the daemon";
    }
    Attacker(const Attacker&) = delete;
    Attacker& operator=(const Attacker&) = delete;

    // The errno that the helper answers.
    int32_t ask(HelperRequest request, const std::string& args = "", size_t fds = 0) {
        std::string packet(reinterpret_cast<const char*>(&request), sizeof request);
        return exchange(packet + args, fds);
    }
    int32_t exchange(std::string packet, size_t fds = 0) {
        iovec part{packet.data(), packet.size()};
        alignas(cmsghdr) char control[CMSG_SPACE(4 * sizeof(int))] = {};  // descriptor 0
        new (control) cmsghdr{CMSG_LEN(fds * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
        const size_t size = fds > 0 ? CMSG_SPACE(fds * sizeof(int)) : 0;
        const msghdr message{nullptr, 0, &part, 1, control, size, 0};
        EXPECT_EQ(sendmsg(socket.get(), &message, 0), static_cast<ssize_t>(packet.size()));
        EXPECT_EQ(recv(socket.get(), &reply, sizeof reply, 0), static_cast<ssize_t>(sizeof reply));
        return reply.error;
    }
    int32_t start(const char* name, const std::string& args) {
        return ask({HelperRequest::kStart, numberOf(name), 0, 0, 0, 0}, args);
    }
    size_t descriptors() const {
        const std::filesystem::directory_iterator open("/proc/" + std::to_string(pid) + "/fd"), end;
        return static_cast<size_t>(std::distance(open, end));
    }
    // Waits for the end of what was started last.
    int end() {
        const HelperRequest request{HelperRequest::kCollect, 0, 0, 0, 0, reply.handle};
        EXPECT_TRUE(becomes([&] { return ask(request) != EAGAIN; }));
        return reply.status;
    }

    Fd socket;
    pid_t pid = -1;
    HelperReply reply{};
};

std::string argument(const std::string& text) {
    return text + '\0';
}

}  // namespace

TEST(Helper, StartsNothingOutsideItsTable) {
    const ScratchFolder folder;
    for (const char* name :
         {"led", "network", "btm-request", "firmware-install", "log-file-fetch"}) {
        folder.hook(name, "echo \"$*\" >>\"${0%/*}/ran\"; env >\"${0%/*}/env\"");
    }
    setenv("SECRET", "x", 1);
    Attacker attacker;
    unsetenv("SECRET");
    const std::string one = argument("1"), mac = argument("02:00:00:00:00:01");
    const std::string path = argument(folder.path("led"));
    const struct {
        const char* program;
        std::string args;
    } refused[] = {
        {"led", ""},
        {"led", one + one},
        {"led", "1"},  // without its end
        {"led", argument("1;id")},
        {"led", argument("")},
        {"led", path},
        {"network", argument("x") + argument("text")},
        {"network", one + argument(std::string(131072, 'x'))},
        {"btm-request", mac + argument("02:00:00:00:00:0g") + one + one + one + one},
        {"log-file-fetch", argument("../x") + argument("ftp://h/x")},
        {"log-file-fetch", argument("x") + argument("-o/etc/x")},
        {"firmware-install", path + argument("2.0")},
        {"firmware server", argument("127.0.0.1 -h /")},
        {"firmware download", argument("-K/etc/x") + one + one},
        {"restart", argument("-c") + argument("/tmp")},
        {"/bin/sh", ""},
        {"../led", one},
    };
    for (const auto& [program, args] : refused) {
        EXPECT_EQ(attacker.start(program, args), EINVAL) << program << " " << args;
    }
    for (int kind = 4; kind < 256; kind++) {
        EXPECT_EQ(attacker.exchange(std::string(1, static_cast<char>(kind))), EINVAL);
        HelperRequest request{HelperRequest::kStart, numberOf("led"), 0, 0, 0, 0};
        request.has = static_cast<uint8_t>(kind);  // descriptors that are not there
        EXPECT_EQ(attacker.ask(request, one), EINVAL);
    }
    EXPECT_EQ(attacker.exchange(std::string(200'000, '\0')), EINVAL);
    // One descriptor too many.
    const size_t open = attacker.descriptors();
    EXPECT_EQ(attacker.ask({HelperRequest::kStart, numberOf("led"), 0, 7, 0, 0}, one, 4), EINVAL);
    EXPECT_EQ(attacker.descriptors(), open);
    // A process that is none of the helper's.
    const HelperRequest kill{HelperRequest::kKill, 0, 0, 0, 0, static_cast<Handle>(getpid())};
    EXPECT_EQ(attacker.ask(kill), 0);
    EXPECT_EQ(attacker.ask({HelperRequest::kCollect, 0, 0, 0, 0, 1}), ECHILD);
    EXPECT_EQ(folder.read("ran"), "");

    if (!kIsRoot) return;  // hooks of other users are refused
    const std::string text = "$(id) `id`; 'a' \"b\" -x";
    ASSERT_EQ(attacker.start("network", one + argument(text)), 0);
    const Handle handle = attacker.reply.handle;
    EXPECT_EQ(attacker.start("network", one + one), EBUSY);
    attacker.reply.handle = handle;
    EXPECT_EQ(attacker.end(), 0);
    EXPECT_EQ(folder.read("ran"), "1 " + text + "\n");
    EXPECT_EQ(folder.read("env").find("SECRET"), std::string::npos);
}

TEST(Helper, RunsOnlyHooksThatOnlyRootCanChange) {
    if (!kIsRoot) GTEST_SKIP() << "needs a second user";
    const ScratchFolder folder;
    const std::string hook = folder.path("led");
    const auto start = [] {
        Attacker attacker;
        const bool known =
            attacker.ask({HelperRequest::kCanStart, numberOf("led"), 0, 0, 0, 0}) == 0;
        const int error = attacker.start("led", argument("1"));
        EXPECT_EQ(known, error == 0);
        if (error == 0) attacker.end();
        return error;
    };
    folder.hook("led", "echo x >>\"$0.ran\"");
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(chmod(hook.c_str(), 0775), 0);
    EXPECT_EQ(start(), EACCES) << "writable by the group";
    EXPECT_EQ(chmod(hook.c_str(), 0757), 0);
    EXPECT_EQ(start(), EACCES) << "writable by others";
    EXPECT_EQ(chmod(hook.c_str(), 0644), 0);
    EXPECT_EQ(start(), EACCES) << "not executable";
    EXPECT_EQ(chmod(hook.c_str(), 0755), 0);
    EXPECT_EQ(chown(hook.c_str(), 1, 0), 0);
    EXPECT_EQ(start(), EACCES) << "of another user";
    EXPECT_EQ(chown(hook.c_str(), 0, 0), 0);
    std::filesystem::rename(hook, folder.path("other"));
    std::filesystem::create_symlink("other", hook);
    EXPECT_EQ(start(), EACCES) << "a link";
    std::filesystem::remove(hook);
    folder.hook("led", "echo x >>\"$0.ran\"");
    for (const auto& [mode, owner] : {std::pair{0777, 0}, {01777, 0}, {0755, 1}}) {
        EXPECT_EQ(chmod(folder.path().c_str(), static_cast<mode_t>(mode)), 0);
        EXPECT_EQ(chown(folder.path().c_str(), static_cast<uid_t>(owner), 0), 0);
        EXPECT_EQ(start(), EACCES) << "the folder: " << mode << " " << owner;
    }
    EXPECT_EQ(chown(folder.path().c_str(), 0, 0), 0);
    // Somebody who can exchange a folder above can exchange the hook.
    std::filesystem::create_directories(folder.path("a/b"));
    std::filesystem::copy(hook, folder.path("a/b/led"));
    setenv("VM1905_HOOKS", folder.path("a/b").c_str(), 1);
    EXPECT_EQ(start(), 0);
    EXPECT_EQ(chown(folder.path("a").c_str(), 1, 0), 0);
    EXPECT_EQ(start(), EACCES) << "the folder above";
    EXPECT_EQ(folder.read("led.ran") + folder.read("a/b/led.ran"), "x\nx\n");
}

TEST(Helper, WorkNeverRunsAsTheDaemonsUser) {
    if (!kIsRoot) GTEST_SKIP() << "needs a second user";
    for (const uid_t daemon : {4242U, 65534U, 0U}) {
        const pid_t child = fork();
        if (child == 0) {
            const bool dropped = startHelper(daemon, daemon) && dropRights();
            _exit(dropped && getuid() != daemon && getuid() != 0 ? 0 : 1);
        }
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0) << daemon;
    }
}

TEST(Helper, WorkLosesItsCapabilitiesAlsoWithoutANewUser) {
    if (!kIsRoot) GTEST_SKIP() << "needs capabilities";
    const pid_t child = fork();
    if (child == 0) {
        (void)prctl(PR_SET_KEEPCAPS, 1, 0, 0, 0);
        const bool dropped =
            setresuid(1, 1, 1) == 0 && startHelper(0, 0) && !canBecome(65534) && dropRights();
        const std::string status = readFile("/proc/self/status", 4096);
        _exit(dropped && status.find("CapPrm:\t0000000000000000") != status.npos ? 0 : 1);
    }
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}
