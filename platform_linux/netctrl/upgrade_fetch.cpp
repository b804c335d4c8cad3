// A firmware order: the image and its manifest are fetched by a program of the system, then
// installed. URL and file name come from the network.
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "api.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/upgrade.h"

namespace plat {
namespace {

using std::chrono::seconds;

constexpr uint8_t kNoOption = 0;
constexpr uint8_t kFetchOption = 6;
// The server may only just be starting. A failure is noticed a second later, which is a pause.
constexpr int kMostAttempts = 5;
// All together below the 240 seconds after which a Registrar orders again.
constexpr seconds kManifestLimit{10};
constexpr seconds kImageLimit{180};
constexpr uint64_t kMostImage = uint64_t{512} * 1024 * 1024;

struct Fetch {
    std::string url;     // of the image; empty while nothing is at work
    std::string folder;  // of its own, removed at the end
    int attempts = 0;    // at the manifest
};
Fetch fetch;

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
    PLAT_LOG(1, "firmware: %s: %s", fetch.url.c_str(), why);
    finish();
    setFirmwareState(PLATFORM_FW_FAILED);
}

// A quarter of the room is left for the rest of the device.
uint64_t mostBytes(const std::string& folder) {
    struct statvfs info {};
    if (::statvfs(folder.c_str(), &info) != 0) return 0;
    return std::min<uint64_t>(kMostImage, info.f_bavail * info.f_frsize / 4 * 3);
}

// The command that fetches a URL into a file: without a file of settings, without redirections.
// Empty when no such program is installed.
std::vector<std::string> downloader(const std::string& url, const std::string& file) {
    if (const std::string curl = findProgram("curl"); !curl.empty())
        return {curl,
                "-q",
                "--silent",
                "--show-error",
                "--fail",
                "--globoff",
                "--proto",
                "=http,https,ftp",
                "--max-redirs",
                "0",
                "--connect-timeout",
                "10",
                "--output",
                file,
                "--",
                url};
    if (const std::string wget = findProgram("wget"); !wget.empty()) {
        std::error_code error;
        const auto real = std::filesystem::canonical(wget, error).filename().string();
        if (real.starts_with("wget"))
            return {wget,
                    "--no-config",
                    "--quiet",
                    "--max-redirect=0",
                    "--tries=1",
                    "--timeout=10",
                    "--output-document=" + file,
                    "--",
                    url};
        // Of a smaller system, where the name leads to a program of many names.
        return {wget, "-q", "-O", file, "--", url};
    }
    const std::string busybox = findProgram("busybox");
    if (busybox.empty()) return {};
    return {busybox, "wget", "-q", "-O", file, "--", url};
}

bool download(const std::string& url, const std::string& file, uint64_t most, seconds limit,
              JobDone done) {
    const auto argv = downloader(url, file);
    return !argv.empty() && most > 0 &&
           startJob(argv, {.limit = limit, .maxFile = most, .name = "firmware download"},
                    std::move(done)) != 0;
}

void imageFetched(int status) {
    const auto manifest = parseManifest(readManifest(manifestPath()));
    if (status != 0 || !manifest) return fail("the image can't be fetched");
    if (!installImage(imagePath(), *manifest, [](bool) { finish(); })) fail("not installed");
}

void manifestFetched(int status);

bool fetchManifest() {
    ++fetch.attempts;
    return download(fetch.url + std::string(kManifestSuffix), manifestPath(), kMostManifest,
                    kManifestLimit, [](int ended, const std::string&) { manifestFetched(ended); });
}

void manifestFetched(int status) {
    if (status != 0 && fetch.attempts < kMostAttempts && fetchManifest()) return;
    if (status != 0 || !parseManifest(readManifest(manifestPath())))
        return fail("there is no usable manifest for it");
    if (!download(fetch.url, imagePath(), mostBytes(fetch.folder), kImageLimit,
                  [](int ended, const std::string&) { imageFetched(ended); }))
        fail("no room, or no program to fetch it");
}

// The scheme alone is looked at: the program that fetches takes the rest apart.
bool isFetchable(std::string_view url) {
    constexpr std::array<std::string_view, 3> kSchemes = {"http://", "https://", "ftp://"};
    const bool isPlain =
        std::all_of(url.begin(), url.end(), [](char c) { return c > ' ' && c <= '~'; });
    return isPlain && url.size() < PLATFORM_FW_URL_LEN &&
           std::any_of(kSchemes.begin(), kSchemes.end(), [url](std::string_view scheme) {
               return url.size() > scheme.size() && url.starts_with(scheme);
           });
}

int startFetch(std::string url, const std::string& fileName) {
    if (url.ends_with('/') && isPlainName(fileName)) url += fileName;
    if (!isFetchable(url)) {
        PLAT_LOG(1, "firmware: no http, https or ftp URL to fetch it from");
        return kFailure;
    }
    if (!fetch.url.empty()) return url == fetch.url ? kOk : kFailure;
    if (!hasHook("firmware-install")) {
        PLAT_LOG(1, "firmware: there is no hook firmware-install");
        return kFailure;
    }
    const std::string_view given = conf().value("FIRMWARE_DOWNLOAD");
    std::string folder = std::string(given.empty() ? "/tmp" : given) + "/vm1905_firmware.XXXXXX";
    if (::mkdtemp(folder.data()) == nullptr) {
        PLAT_LOG(1, "firmware: can't make %s: %m", folder.c_str());
        return kFailure;
    }
    fetch = {url, folder, 0};
    setFirmwareState(PLATFORM_FW_UPGRADE);
    PLAT_LOG(3, "firmware: fetch %s", url.c_str());
    if (!fetchManifest()) fail("no program to fetch it");
    return firmwareState() == PLATFORM_FW_UPGRADE ? kOk : kFailure;
}

// Text fields of records may fill their buffer whole.
template <size_t N>
std::string fieldText(const char (&field)[N]) {
    return {field, ::strnlen(field, N)};
}

}  // namespace

void dropFetch() {
    finish();
}

}  // namespace plat

using namespace plat;

int FWCtrl(const FwCtrl* ctrl) {
    if (ctrl == nullptr) return kFailure;
    const std::string url = fieldText(ctrl->url);
    const std::string fileName = fieldText(ctrl->fileName);
    if (hasHook("firmware"))
        return runHook("firmware", {std::to_string(ctrl->fwOption),
                                    std::to_string(ctrl->fwTopoOption), url, fileName});
    if (ctrl->fwOption == kNoOption && url.empty()) {
        if (firmwareState() == PLATFORM_FW_FAILED) setFirmwareState(PLATFORM_FW_IDLE);
        return kOk;
    }
    if (ctrl->fwOption == kFetchOption) return startFetch(url, fileName);
    PLAT_LOG(2, "firmware: no hook firmware for the option %d", ctrl->fwOption);
    return kFailure;
}
