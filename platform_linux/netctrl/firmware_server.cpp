#include "netctrl/firmware_server.h"

#include <unistd.h>

#include <chrono>
#include <string>

#include "api.h"
#include "base/result.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "netctrl/firmware_offer.h"

namespace {

constexpr const char* kHook = "ftp-server";
constexpr const char* kPort = "8905";
// After a crash of the daemon the server ends by itself.
constexpr std::chrono::hours kServerLife{1};
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

// What prevents our own server from running; nullptr if nothing does.
const char* obstacle() {
    if (findProgram("busybox").empty()) return "there is no busybox";
    if (ownAddress().empty()) return "there is no IPv4 address";
    // The server would run the programs in it on request.
    if (access((firmwareFolder() + "/cgi-bin").c_str(), F_OK) == 0) {
        return "there is a cgi-bin in FIRMWARE_FOLDER";
    }
    return nullptr;
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
    if (obstacle() != nullptr) return kFailure;
    const auto life = std::chrono::seconds(kServerLife);
    const std::string busybox = findProgram("busybox");
    server.killed = false;
    server.address = address;
    // Empty settings, because without any it would read those of the product.
    server.job = startJob({busybox, "timeout", std::to_string(life.count()), busybox, "httpd", "-f",
                           "-c", "/dev/null", "-p", address + ":" + kPort, "-h", firmwareFolder()},
                          {.limit = life, .name = "firmware server"},
                          [](int status, const std::string&) { serverEnded(status); });
    return server.job != 0 ? kOk : kFailure;
}

// If the hook is still running, its end triggers a new run when another state is wanted by then.
int runServerHook() {
    if (isJobRunning(server.job)) return kOk;
    const bool start = server.wanted;
    server.job = startHook(kHook, {start ? "1" : "0"}, {.limit = kHookLimit, .outlives = true},
                           [start](int, const std::string&) {
                               if (server.wanted != start) runServerHook();
                           });
    return server.job != 0 ? kOk : kFailure;
}

}  // namespace

std::string firmwareUrl() {
    std::string url(conf().value("FIRMWARE_URL"));
    if (url.empty()) {
        const char* missing = obstacle();
        if (hasHook(kHook) && !ownAddress().empty()) missing = nullptr;
        if (missing != nullptr && !server.complained) {
            LOG_LINE(1, "firmware: %s; see FIRMWARE_URL and the hook ftp-server", missing);
        }
        server.complained = missing != nullptr;
        if (missing != nullptr) return {};
        url = "http://" + ownAddress() + ":" + kPort;
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
