#include "netctrl/firmware_fetch.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/firmware_download.h"
#include "netctrl/firmware_image.h"
#include "netctrl/firmware_install.h"
#include "netctrl/firmware_state.h"
#include "netctrl/firmware_trust.h"

namespace {

using std::chrono::seconds;

constexpr uint8_t kNoOption = 0;
constexpr uint8_t kFetchOption = 6;
// The server may still be starting. Failures are noticed only a second later, so there is a pause.
constexpr int kMostAttempts = 5;
// A Registrar that sees no other state than Upgrade for 240 seconds repeats its order, without
// effect.
constexpr seconds kSmallLimit{10};  // for the manifest, and for its signature
constexpr const char* kFolderName = "vm1905_firmware.";
constexpr const char* kNoDownload = "can't start to fetch it; https, ftp and user names need curl";

struct {
    Url url;             // of the image; its text is empty while nothing is fetched
    std::string folder;  // for this download only, removed at the end
    int attempts = 0;    // to fetch the manifest
    Manifest manifest;   // once it has been verified
} fetch;

std::string imagePath() {
    return fetch.folder + "/image";
}

void finish() {
    std::error_code error;
    if (!fetch.folder.empty()) std::filesystem::remove_all(fetch.folder, error);
    fetch = {};
}

void fail(const std::string& why) {
    LOG_LINE(1, "firmware: %s is not installed: %s", plainText(fetch.url.text).c_str(),
             why.c_str());
    finish();
    setFirmwareState(PLATFORM_FW_FAILED);
}

// Leaves a quarter of the free space to the rest of the device. The helper of a confined daemon
// makes a copy.
uint64_t mostBytes(const std::string& folder) {
    struct statvfs info {};
    if (statvfs(folder.c_str(), &info) != 0) return 0;
    return std::min<uint64_t>(kMostImage,
                              info.f_bavail * info.f_frsize / (isConfined() ? 8 : 4) * 3);
}

bool download(std::string_view suffix, uint64_t most, seconds limit, JobDone done) {
    const auto url = parseUrl(fetch.url.text + std::string(suffix));
    return url && most > 0 &&
           startDownload(*url, imagePath() + std::string(suffix), most, limit, std::move(done)) !=
               0;
}

void failDownload(const char* what, const std::string& said) {
    fail(std::string(what) + " can't be fetched" + (said.empty() ? "" : ": " + said));
}

void imageFetched(int status, const std::string& said) {
    if (status != 0) return failDownload("it", said);
    if (!installImage({imagePath(), fetch.manifest, {}, [](bool) { finish(); }})) {
        fail("the installation can't begin");
    }
}

void fetchImage() {
    Refusal refusal;
    const auto manifest = readTrusted(imagePath(), refusal);
    if (!manifest) return fail(refusal);
    if (isRunning(*manifest)) {
        LOG_LINE(2, "firmware: version %s runs already", manifest->version.c_str());
        finish();
        return setFirmwareState(PLATFORM_FW_IDLE);
    }
    refusal = checkFits(*manifest);
    if (!refusal.empty()) return fail(refusal);
    if (manifest->size > mostBytes(fetch.folder)) {
        return fail(
            "it is too large for FIRMWARE_DOWNLOAD; make space there or set another folder");
    }
    fetch.manifest = *manifest;
    if (!download("", manifest->size, kDownloadLimit, imageFetched)) fail(kNoDownload);
}

void signatureFetched(int status, const std::string& said) {
    if (status != 0) return failDownload("the signature of its manifest", said);
    fetchImage();
}

void manifestFetched(int status, const std::string& said);

bool fetchManifest() {
    fetch.attempts++;
    return download(kManifestSuffix, kMostManifest, kSmallLimit, manifestFetched);
}

void manifestFetched(int status, const std::string& said) {
    if (status != 0 && fetch.attempts < kMostAttempts && fetchManifest()) return;
    if (status != 0) return failDownload("its manifest", said);
    if (!needsSignature()) return fetchImage();
    const std::string suffix = std::string(kManifestSuffix) + std::string(kSignatureSuffix);
    if (!download(suffix, kSignatureSize, kSmallLimit, signatureFetched)) fail(kNoDownload);
}

// Whether an image may be fetched from there.
Refusal checkUrl(const std::string& text, const std::optional<Url>& url) {
    if (!url || text.size() >= PLATFORM_FW_URL_LEN) {
        return "it has no URL of the kinds http, https and ftp with a plain host";
    }
    if (isOwnHost(url->host)) {
        return "its URL leads to this device itself; announce the image on the Registrar";
    }
    if (!conf().has("FIRMWARE_HOSTS")) return {};
    bool listed = false;
    forEachWord(conf().value("FIRMWARE_HOSTS"),
                [&](std::string_view word) { listed = listed || word == url->host; });
    return listed ? Refusal()
                  : "FIRMWARE_HOSTS of platform.conf does not list its host " + url->host;
}

int refuse(const Refusal& why) {
    LOG_LINE(1, "firmware: the order is refused: %s", why.c_str());
    return kFailure;
}

int startFetch(std::string text, const std::string& fileName) {
    if (text.ends_with('/') && isPlainName(fileName)) text += fileName;
    const auto url = parseUrl(text);
    if (const Refusal why = checkUrl(text, url); !why.empty()) return refuse(why);
    if (!fetch.url.text.empty()) return text == fetch.url.text ? kOk : kFailure;
    if (!hasHook("firmware-install") || !isInstallFree()) {
        return refuse("there is no hook firmware-install, or it is running");
    }
    if (const Refusal why = checkTrust(); !why.empty()) return refuse(why);
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
    fetch = {*url, folder, 0, {}};
    setFirmwareState(PLATFORM_FW_UPGRADE);
    LOG_LINE(3, "firmware: fetch %s", plainText(text).c_str());
    if (!fetchManifest()) fail(kNoDownload);
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
