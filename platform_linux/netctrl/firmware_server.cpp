#include "netctrl/firmware_server.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "api.h"
#include "base/result.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "netctrl/firmware_offer.h"

namespace {

constexpr const char* kHook = "ftp-server";
constexpr const char* kPort = "8905";
constexpr uid_t kNobody = 65534;
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
    return nullptr;
}

// The server sees this folder only.
std::string servedFolder() {
    return firmwareFolder() + "/.served";
}

void clearServed() {
    std::error_code error, ignored;
    for (std::filesystem::directory_iterator entry(servedFolder(), error), end;
         !error && entry != end; entry.increment(error)) {
        std::filesystem::remove(entry->path(), ignored);
    }
}

// Puts the files to serve into the folder, as hard links. The folder itself stays, because a server
// that has outlived a crash of the daemon still uses it.
bool fillServed() {
    std::error_code error;
    const std::filesystem::path folder = servedFolder();
    const bool made = mkdir(folder.c_str(), 0755) == 0 || errno == EEXIST;
    if (!made || !std::filesystem::is_directory(std::filesystem::symlink_status(folder, error))) {
        LOG_LINE(1, "firmware: can't make the folder %s", folder.c_str());
        return false;
    }
    chmod(folder.c_str(), 0755);  // whatever the umask is
    clearServed();
    for (const ServedFile& file : filesToServe()) {
        const std::string from = firmwareFolder() + "/" + file.name, to = folder / file.name;
        if (link(from.c_str(), to.c_str()) != 0) {
            LOG_LINE(1,
                     "firmware: can't serve %s: %m; FIRMWARE_FOLDER needs a file system with "
                     "hard links, or set FIRMWARE_URL",
                     from.c_str());
            return false;
        }
        // It may have been replaced since it was verified.
        if (stampOf(to) != file.stamp) {
            remove(to.c_str());
        } else {
            chmod(to.c_str(), 0644);
        }
    }
    return true;
}

int startServer();

void killServer() {
    server.killed = true;
    killJob(server.job);
}

void serverEnded(int status) {
    if (!server.wanted) return clearServed();
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
    if (obstacle() != nullptr || !fillServed()) return kFailure;
    server.killed = false;
    server.address = address;
    server.job = startJob("firmware server", {address}, {},
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
    clearServed();
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
    const std::string busybox = findProgram("busybox"), place = args[0] + ":" + kPort;
    const std::string folder = servedFolder(), life = std::to_string(kServerLife.count());
    const std::string nobody = std::to_string(kNobody) + ":" + std::to_string(kNobody);
    // Empty settings, because without any it would read those of the product.
    const char* const argv[] = {busybox.c_str(),
                                "timeout",
                                life.c_str(),
                                busybox.c_str(),
                                "httpd",
                                "-f",
                                "-c",
                                "/dev/null",
                                "-p",
                                place.c_str(),
                                "-h",
                                folder.c_str(),
                                canBecome(kNobody) ? "-u" : nullptr,
                                nobody.c_str(),
                                nullptr};
    execv(argv[0], const_cast<char* const*>(argv));
    return kFailure;
}
