#include "netctrl/firmware_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>

#include "api.h"
#include "base/fd.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "netctrl/firmware_image.h"
#include "netctrl/firmware_offer.h"
#include "netctrl/firmware_trust.h"
#include "netctrl/image_server.h"
#include "netctrl/system_calls.h"

namespace {

constexpr const char* kHook = "ftp-server";
constexpr uint16_t kPort = 8905;
constexpr std::chrono::milliseconds kEndWait{500};

struct {
    bool wanted = false;
    bool killed = false;      // the server that is running
    JobId job = 0;            // the server, or the hook that starts or stops it
    std::string address;      // where the server listens
    bool complained = false;  // has logged what is missing
} server;

std::string ownAddress() {
    char address[32] = {};
    return getDeviceIP(address) == kOk ? address : "";
}

// The verified images, with what belongs to them.
Arguments serverArguments() {
    Arguments args{server.address};
    for (const ServedFile& file : filesToServe()) {
        // It may have been replaced since it was verified.
        if (stampOf(firmwareFolder() + "/" + file.name) == file.stamp) args.push_back(file.name);
    }
    return args;
}

int startServer();

void killServer() {
    server.killed = true;
    killJob(server.job);
}

void serverEnded(int status) {
    if (!server.wanted) return;
    if (server.killed) {
        startServer();
    } else {
        LOG_LINE(1, "firmware: the server has ended: %d", status);
    }
}

int startServer() {
    const std::string address = ownAddress();
    if (isJobRunning(server.job)) {  // a killed server is started again at its end
        if (!server.killed && server.address != address) killServer();
        return kOk;
    }
    if (address.empty()) return kFailure;
    server.killed = false;
    server.address = address;
    server.job = startJob("firmware server", serverArguments(), {},
                          [](int status, const std::string&) { serverEnded(status); });
    return server.job != 0 ? kOk : kFailure;
}

// If the hook is still running, its end triggers a new run when another state is wanted by then.
int runServerHook() {
    if (isJobRunning(server.job)) return kOk;
    const bool start = server.wanted;
    server.job =
        startHook(kHook, {start ? "1" : "0"}, {.outlives = true}, [start](int, const std::string&) {
            if (server.wanted != start) runServerHook();
        });
    return server.job != 0 ? kOk : kFailure;
}

// A file of an announced image. Empty for any other: who asks for it may have taken the daemon
// over, so it must also be one that the daemon can read.
Fd openServed(const std::string& name) {
    const std::string path = firmwareFolder() + "/" + name;
    std::string suffix(kManifestSuffix);
    const bool isKnown = stampOf(path + suffix) || name.ends_with(suffix) ||
                         name.ends_with(suffix.append(kSignatureSuffix));
    Fd file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOFOLLOW));
    struct stat info {};
    if (!isKnown || fstat(file.get(), &info) != 0 || !S_ISREG(info.st_mode)) return Fd();
    const bool isReadable =
        !isConfined() || info.st_uid == helperUser().user || (info.st_mode & S_IROTH) != 0;
    return isReadable ? std::move(file) : Fd();
}

Fd listenAt(const std::string& address) {
    sockaddr_in place{};
    place.sin_family = AF_INET;
    place.sin_port = htons(kPort);
    const int on = 1;
    Fd listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (inet_pton(AF_INET, address.c_str(), &place.sin_addr) != 1 ||
        setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on) != 0 ||
        bind(listener.get(), reinterpret_cast<const sockaddr*>(&place), sizeof place) != 0 ||
        listen(listener.get(), SOMAXCONN) != 0) {
        return Fd();
    }
    return listener;
}

}  // namespace

std::string firmwareUrl() {
    std::string url(conf().value("FIRMWARE_URL"));
    if (url.empty()) {
        const std::string address = ownAddress();
        if (address.empty() && !server.complained) {
            LOG_LINE(
                1, "firmware: there is no IPv4 address; see FIRMWARE_URL and the hook ftp-server");
        }
        server.complained = address.empty();
        if (address.empty()) return {};
        url = "http://" + address + ":" + std::to_string(kPort);
    }
    return url.ends_with('/') ? url : url + "/";
}

void stopServer() {
    if (server.wanted) set_vsftpd_StartStop(0);
}

void endServer() {
    stopServer();
    waitJob(server.job, kEndWait);
    server = {};
}

int set_vsftpd_StartStop(int32_t start) {
    server.wanted = start == 1;
    if (hasHook(kHook)) return runServerHook();
    if (!conf().value("FIRMWARE_URL").empty()) return kOk;  // another machine serves
    if (server.wanted) return startServer();
    killServer();
    return kOk;
}

int runServer(const Arguments& args) {
    OpenFiles files;
    for (size_t i = 1; i < args.size(); i++) {
        if (Fd file = openServed(args[i])) files.emplace(args[i], std::move(file));
    }
    const Fd listener = listenAt(args[0]);
    alarm(static_cast<unsigned>(kServerLife.count()));
    (void)signal(SIGPIPE, SIG_IGN);
    (void)prctl(PR_SET_NAME, "vm1905-images");
    if (!listener || !dropRights()) return kFailure;
    if (limitServerCalls() == PLATFORM_FILTER_FAILED && isConfined()) return kFailure;
    serveFiles(listener, files);
}
