#include "netctrl/firmware_fetch.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/firmware_image.h"
#include "netctrl/firmware_install.h"
#include "netctrl/firmware_state.h"

namespace {

using std::chrono::seconds;

constexpr uint8_t kNoOption = 0;
constexpr uint8_t kFetchOption = 6;
// The server may still be starting. Failures are noticed only a second later, so there is a pause.
constexpr int kMostAttempts = 5;
// A Registrar that sees no other state than Upgrade for 240 seconds repeats its order, without
// effect.
constexpr seconds kManifestLimit{10};
constexpr seconds kImageLimit{180};
constexpr uint64_t kMostImage = uint64_t{512} * 1024 * 1024;

constexpr const char* kFolderName = "vm1905_firmware.";

struct {
    std::string url;     // of the image; empty while nothing is fetched
    std::string folder;  // for this download only, removed at the end
    int attempts = 0;    // to fetch the manifest
} fetch;

std::string imagePath() {
    return fetch.folder + "/image";
}

std::string manifestPath() {
    return imagePath() + std::string(kManifestSuffix);
}

void finish() {
    std::error_code error;
    if (!fetch.folder.empty()) std::filesystem::remove_all(fetch.folder, error);
    fetch = {};
}

void fail(const char* why) {
    LOG_LINE(1, "firmware: %s: %s", plainText(fetch.url).c_str(), why);
    finish();
    setFirmwareState(PLATFORM_FW_FAILED);
}

// Leaves a quarter of the free space to the rest of the device.
uint64_t mostBytes(const std::string& folder) {
    struct statvfs info {};
    if (statvfs(folder.c_str(), &info) != 0) return 0;
    return std::min<uint64_t>(kMostImage, info.f_bavail * info.f_frsize / 4 * 3);
}

// The command that fetches a URL into a file, ignoring settings files and refusing redirections.
// Empty if there is no such program.
std::vector<std::string> downloader(const std::string& url, const std::string& file,
                                    seconds limit) {
    if (const std::string curl = findProgram("curl"); !curl.empty()) {
        return {curl, "-q", "--silent", "--show-error", "--fail", "--globoff", "--proto",
                "=http,https,ftp", "--max-redirs", "0", "--connect-timeout", "10",
                // In case the daemon is gone and cannot end it.
                "--max-time", std::to_string(limit.count()), "--output", file, "--", url};
    }
    if (const std::string wget = findProgram("wget"); !wget.empty()) {
        std::error_code error;
        const auto real = std::filesystem::canonical(wget, error).filename().string();
        if (real.starts_with("wget")) {
            return {wget,
                    "--no-config",
                    "--quiet",
                    "--max-redirect=0",
                    "--tries=1",
                    "--timeout=10",
                    "--output-document=" + file,
                    "--",
                    url};
        }
        // On small systems wget is a link to a program such as busybox.
        return {wget, "-q", "-O", file, "--", url};
    }
    const std::string busybox = findProgram("busybox");
    if (busybox.empty()) return {};
    return {busybox, "wget", "-q", "-O", file, "--", url};
}

bool download(const std::string& url, const std::string& file, uint64_t most, seconds limit,
              JobDone done) {
    const auto argv = downloader(url, file, limit);
    return !argv.empty() && most > 0 &&
           startJob(argv,
                    {.limit = limit,
                     .keepErrors = true,  // may quote the server
                     .maxFile = most,
                     .name = "firmware download"},
                    [done = std::move(done)](int status, const std::string& output) {
                        if (!output.empty()) LOG_LINE(2, "firmware: %s", plainText(output).c_str());
                        done(status, output);
                    }) != 0;
}

void imageFetched(int status) {
    const auto manifest = parseManifest(readManifest(manifestPath()));
    if (status != 0 || !manifest) return fail("the image can't be fetched");
    if (!installImage({imagePath(), *manifest, {}, [](bool) { finish(); }})) fail("not installed");
}

void manifestFetched(int status);

bool fetchManifest() {
    fetch.attempts++;
    return download(fetch.url + std::string(kManifestSuffix), manifestPath(), kMostManifest,
                    kManifestLimit, [](int ended, const std::string&) { manifestFetched(ended); });
}

void manifestFetched(int status) {
    if (status != 0 && fetch.attempts < kMostAttempts && fetchManifest()) return;
    const auto manifest = parseManifest(readManifest(manifestPath()));
    if (status != 0 || !manifest) return fail("there is no usable manifest for it");
    char hostname[128], version[128];
    getHostname(hostname);
    getFirmwareVersion(version);
    if (!isFor(*manifest, hostname)) return fail("it is for other devices");
    if (manifest->version == version) {
        LOG_LINE(2, "firmware: version %s runs already", version);
        finish();
        return setFirmwareState(PLATFORM_FW_IDLE);
    }
    if (!download(fetch.url, imagePath(), mostBytes(fetch.folder), kImageLimit,
                  [](int ended, const std::string&) { imageFetched(ended); })) {
        fail("no space, or no program to fetch it");
    }
}

// The host in the part of a URL after the scheme, without brackets. Empty if the downloader might
// read it differently.
std::string hostIn(std::string_view rest) {
    rest = rest.substr(0, rest.find_first_of("/?#"));
    if (const size_t at = rest.rfind('@'); at != rest.npos) rest.remove_prefix(at + 1);
    const bool bracket = rest.starts_with('[');
    if (bracket) rest.remove_prefix(1);
    const std::string_view host = rest.substr(0, rest.find_first_of(bracket ? "]%" : ":"));
    const bool plain = std::all_of(host.begin(), host.end(), [bracket](char c) {
        return isNameChar(c) || (bracket && c == ':');
    });
    return plain ? std::string(host) : "";
}

// An order must not lead to services that are private to this device: "localhost" and loopback
// addresses in any notation.
bool isOwnHost(std::string host) {
    if (host.ends_with('.')) host.pop_back();
    in_addr v4{};
    in6_addr v6{};
    if (inet_aton(host.c_str(), &v4) != 0) {
        return (ntohl(v4.s_addr) >> 24) == 127 || (ntohl(v4.s_addr) >> 24) == 0;
    }
    if (inet_pton(AF_INET6, host.c_str(), &v6) == 1) {
        return IN6_IS_ADDR_LOOPBACK(&v6) || IN6_IS_ADDR_UNSPECIFIED(&v6) ||
               IN6_IS_ADDR_V4MAPPED(&v6);
    }
    return strcasecmp(host.c_str(), "localhost") == 0;
}

// Only the scheme, the host and the characters are checked here; the downloader parses the rest.
bool isFetchable(std::string_view url) {
    constexpr std::array<std::string_view, 3> kSchemes = {"http://", "https://", "ftp://"};
    const bool isPlain = std::all_of(url.begin(), url.end(),
                                     [](char c) { return c > ' ' && c <= '~' && c != '\\'; });
    return isPlain && url.size() < PLATFORM_FW_URL_LEN &&
           std::any_of(kSchemes.begin(), kSchemes.end(), [url](std::string_view scheme) {
               if (!url.starts_with(scheme)) return false;
               const std::string host = hostIn(url.substr(scheme.size()));
               return !host.empty() && !isOwnHost(host);
           });
}

int startFetch(std::string url, const std::string& fileName) {
    if (url.ends_with('/') && isPlainName(fileName)) url += fileName;
    if (!isFetchable(url)) {
        LOG_LINE(1, "firmware: the order has no http, https or ftp URL of another device");
        return kFailure;
    }
    if (!fetch.url.empty()) return url == fetch.url ? kOk : kFailure;
    if (!hasHook("firmware-install") || !isInstallFree()) {
        LOG_LINE(1, "firmware: there is no hook firmware-install, or it is running");
        return kFailure;
    }
    std::string folder = downloadFolder() + "/" + kFolderName + "XXXXXX";
    if (!isSafeFolder(downloadFolder())) {
        LOG_LINE(1, "firmware: other users can change %s; see FIRMWARE_DOWNLOAD",
                 downloadFolder().c_str());
        return kFailure;
    }
    if (mkdtemp(folder.data()) == nullptr) {
        LOG_LINE(1, "firmware: can't make %s: %m", folder.c_str());
        return kFailure;
    }
    fetch = {url, folder, 0};
    setFirmwareState(PLATFORM_FW_UPGRADE);
    LOG_LINE(3, "firmware: fetch %s", plainText(url).c_str());
    if (!fetchManifest()) fail("no program to fetch it");
    return firmwareState() == PLATFORM_FW_UPGRADE ? kOk : kFailure;
}

}  // namespace

std::string downloadFolder() {
    const std::string_view given = conf().value("FIRMWARE_DOWNLOAD");
    return std::string(given.empty() ? "/tmp" : given);
}

void sweepFetches() {
    std::vector<std::string> left;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(downloadFolder(), error), end;
         !error && entry != end; entry.increment(error)) {
        const std::string path = entry->path();
        struct stat info {};
        // Others may write to the folder, too.
        if (entry->path().filename().string().starts_with(kFolderName) &&
            lstat(path.c_str(), &info) == 0 && info.st_uid == geteuid()) {
            left.push_back(path);
        }
    }
    if (left.empty() || !isInstallFree()) return;
    for (const std::string& path : left) std::filesystem::remove_all(path, error);
}

void dropFetch() {
    if (isInstalling()) fetch.folder.clear();
    finish();
}

int FWCtrl(const FwCtrl* ctrl) {
    if (ctrl == nullptr) return kFailure;
    const std::string url(fieldText(ctrl->url));
    const std::string fileName(fieldText(ctrl->fileName));
    if (hasHook("firmware")) {
        if ((!fileName.empty() && !isPlainName(fileName)) || url.starts_with('-')) return kFailure;
        return runHook("firmware", {std::to_string(ctrl->fwOption),
                                    std::to_string(ctrl->fwTopoOption), url, fileName});
    }
    if (ctrl->fwOption == kNoOption && url.empty()) {
        if (firmwareState() == PLATFORM_FW_FAILED) setFirmwareState(PLATFORM_FW_IDLE);
        return kOk;
    }
    if (ctrl->fwOption == kFetchOption) return startFetch(url, fileName);
    LOG_LINE(2, "firmware: option %d needs the hook firmware", ctrl->fwOption);
    return kFailure;
}
