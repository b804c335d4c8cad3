// Images that a Registrar announces to the mesh: which there are, where the devices find them, and
// when it installs its own.
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "api.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/hook.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/upgrade.h"
#include "netctrl/upgrade_rounds.h"
#include "platform/exports.h"

namespace plat {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostOffers = 32;
constexpr const char* kPort = "8905";
// A server that a crash of the daemon has left behind ends by itself.
constexpr std::chrono::hours kServerLife{1};
// Of the image that this device has installed on itself last: it is not tried twice.
constexpr const char* kInstalledFile = ".installed";

// Changes when a file does.
using Stamp = std::array<int64_t, 4>;

enum class Check { kWaiting, kGood, kBad };

struct Offer {
    std::string file;  // name of the image
    Stamp manifestStamp{}, imageStamp{};
    Manifest manifest;
    Check check = Check::kWaiting;
};

enum class Own { kNothing, kInstalling, kInstalled, kShown };

struct Offers {
    std::vector<Offer> list;
    std::optional<Digest> digest;  // of the first that waits
    UpgradeRounds rounds;
    JobId server = 0;
    Own own = Own::kNothing;
    std::string tried;   // digest of what could not be installed here
    bool taken = false;  // an image has been verified that checkLocalFW has not told of
};
Offers offers;

std::string folder() {
    const std::string_view given = conf().value("FIRMWARE_FOLDER");
    return std::string(given.empty() ? "/var/lib/vm1905/firmware" : given);
}

std::string pathOf(const std::string& name) {
    return folder() + "/" + name;
}

std::optional<Stamp> stampOf(const std::string& path) {
    struct stat info {};
    if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
    return Stamp{info.st_size, static_cast<int64_t>(info.st_ino), info.st_mtim.tv_sec,
                 info.st_mtim.tv_nsec};
}

// ---- Announcements -----------------------------------------------------------------------------

// The images in the folder that have a manifest, by name.
std::vector<std::string> announcedFiles() {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folder(), error), end; !error && entry != end;
         entry.increment(error)) {
        std::string name = entry->path().filename();
        if (!name.ends_with(kManifestSuffix) || !isPlainName(name)) continue;
        name.resize(name.size() - kManifestSuffix.size());
        if (!name.empty() && files.size() < kMostOffers) files.push_back(std::move(name));
    }
    std::sort(files.begin(), files.end());
    return files;
}

Offer readOffer(const std::string& file, const Stamp& manifestStamp, const Stamp& imageStamp) {
    Offer offer{file, manifestStamp, imageStamp, {}, Check::kWaiting};
    if (auto manifest = parseManifest(readManifest(pathOf(file) + std::string(kManifestSuffix)))) {
        offer.manifest = std::move(*manifest);
    } else {
        offer.check = Check::kBad;
        PLAT_LOG(1, "firmware: the manifest of %s has no usable VERSION and SHA256", file.c_str());
    }
    return offer;
}

// Takes up what has changed in the folder; what has not keeps its verification.
void lookForOffers() {
    std::vector<Offer> found;
    bool changed = false;
    for (const std::string& file : announcedFiles()) {
        const auto image = stampOf(pathOf(file));
        const auto manifest = stampOf(pathOf(file) + std::string(kManifestSuffix));
        if (!image || !manifest) continue;
        const auto known =
            std::find_if(offers.list.begin(), offers.list.end(), [&](const Offer& offer) {
                return offer.file == file && offer.imageStamp == *image &&
                       offer.manifestStamp == *manifest;
            });
        const bool isKnown = known != offers.list.end();
        changed = changed || !isKnown;
        found.push_back(isKnown ? *known : readOffer(file, *manifest, *image));
    }
    if (!changed && found.size() == offers.list.size()) return;
    offers.list = std::move(found);
    offers.digest.reset();
    offers.rounds.restart();
    offers.tried.clear();
}

Offer* firstWaiting() {
    const auto it = std::find_if(offers.list.begin(), offers.list.end(),
                                 [](const Offer& offer) { return offer.check == Check::kWaiting; });
    return it != offers.list.end() ? &*it : nullptr;
}

// What is announced for a device: rather an image that names its hosts than one that does not, then
// the newest manifest. nullptr when there is nothing, or it is not verified.
const Offer* offerFor(const char* hostname) {
    const Offer* best = nullptr;
    const auto rank = [](const Offer& offer) {
        return std::tuple(!offer.manifest.hosts.empty(), offer.manifestStamp[2],
                          offer.manifestStamp[3]);
    };
    for (const Offer& offer : offers.list) {
        if (offer.check != Check::kGood || !isFor(offer.manifest, hostname)) continue;
        if (best == nullptr || rank(*best) < rank(offer)) best = &offer;
    }
    return best;
}

// ---- The own image -----------------------------------------------------------------------------

std::string installedBefore() {
    std::ifstream file(pathOf(kInstalledFile));
    std::string digest;
    return std::getline(file, digest) ? digest : "";
}

bool noteInstalled(const std::string& digest) {
    std::ofstream file(pathOf(kInstalledFile));
    return static_cast<bool>(file << digest << std::endl);
}

void giveUpOwn(const std::string& digest, const char* why) {
    PLAT_LOG(1, "firmware: this device stays with its own: %s", why);
    offers.tried = digest;
}

// The others are done; now this device.
void installOwn() {
    char hostname[128], version[128];
    (void)getHostname(hostname);
    (void)getFirmwareVersion(version);
    const Offer* offer = offerFor(hostname);
    if (offers.own != Own::kNothing || offer == nullptr || offer->manifest.version == version ||
        offer->manifest.sha256 == offers.tried)
        return;
    const std::string digest = offer->manifest.sha256;
    if (installedBefore() == digest) {
        giveUpOwn(digest, "the announced image is installed, but tells another version");
        return;
    }
    offers.own = Own::kInstalling;
    const bool started =
        installImage(pathOf(offer->file), offer->manifest, [digest](bool installed) {
            // Without the note it would be installed again and again if it tells another version.
            const bool noted = installed && noteInstalled(digest);
            if (!noted)
                giveUpOwn(digest, installed ? "it can't be noted in FIRMWARE_FOLDER"
                                            : "the installation failed");
            offers.own = noted ? Own::kInstalled : Own::kNothing;
        });
    if (started) return;
    offers.own = Own::kNothing;
    giveUpOwn(digest, "it can't be installed");
}

// One pass lies between, so that the mesh sees why the device goes.
void rebootOwn() {
    if (offers.own == Own::kInstalled) {
        offers.own = Own::kShown;
    } else if (offers.own == Own::kShown) {
        PLAT_LOG(2, "firmware: reboot into the new one");
        (void)rebootSystem();
        offers.own = Own::kNothing;
        setFirmwareState(PLATFORM_FW_FAILED);
    }
}

bool isRegistrar() {
    WpsConfig config{};
    return getWPSConfig(&config) == kOk && config.deviceType == 0;
}

// ---- The server --------------------------------------------------------------------------------

// The beginning of the URL of every image, empty while there is no address.
std::string baseUrl() {
    std::string url(conf().value("FIRMWARE_URL"));
    char address[32] = {};
    if (url.empty() && getDeviceIP(address) == kOk && address[0] != '\0')
        url = std::string("http://") + address + ":" + kPort;
    if (!url.empty() && !url.ends_with('/')) url += '/';
    return url;
}

int startServer() {
    if (isJobAtWork(offers.server)) return kOk;
    char address[32] = {};
    const std::string busybox = findProgram("busybox");
    if (busybox.empty() || getDeviceIP(address) != kOk || address[0] == '\0') {
        PLAT_LOG(1, "firmware: no %s to serve the images, see FIRMWARE_URL and the hook ftp-server",
                 busybox.empty() ? "busybox" : "IPv4 address");
        return kFailure;
    }
    const auto life = std::chrono::seconds(kServerLife);
    offers.server = startJob({busybox, "timeout", std::to_string(life.count()), busybox, "httpd",
                              "-f", "-p", std::string(address) + ":" + kPort, "-h", folder()},
                             {.limit = life, .name = "firmware server"}, {});
    return offers.server != 0 ? kOk : kFailure;
}

}  // namespace

void verifyOffers() {
    Offer* offer = firstWaiting();
    if (offer == nullptr) return;
    if (!offers.digest) offers.digest = Digest::open(pathOf(offer->file));
    const auto digest = offers.digest ? offers.digest->step() : std::optional<std::string>("");
    if (!digest) return;
    offers.digest.reset();
    const bool good = *digest == offer->manifest.sha256;
    offer->check = good ? Check::kGood : Check::kBad;
    offers.taken = offers.taken || good;
    PLAT_LOG(good ? 3 : 1, "firmware: %s, version %s, %s", offer->file.c_str(),
             offer->manifest.version.c_str(),
             good ? "is announced" : "does not match its manifest and is left alone");
}

void directUpgrade() {
    if (!isRegistrar()) {
        if (!offers.list.empty()) dropOffers();
        return;
    }
    rebootOwn();
    lookForOffers();
    const auto isGood = [](const Offer& offer) { return offer.check == Check::kGood; };
    if (firstWaiting() != nullptr || std::none_of(offers.list.begin(), offers.list.end(), isGood))
        return;
    const bool wasServing = offers.rounds.isServing();
    const bool done = offers.rounds.advance(Clock::now());
    if (wasServing && !offers.rounds.isServing()) (void)set_vsftpd_StartStop(0);
    if (done) installOwn();
}

void dropOffers() {
    killJob(offers.server);
    offers = {};
}

void workOnUpgrade() {
    verifyOffers();
    workOnInstall();
}

void dropUpgrade() {
    dropOffers();
    dropInstall();
    dropFetch();
}

}  // namespace plat

using namespace plat;

int getNewFWVersionByPlatform(const char* ownHostname, const char* hostname,
                              char version[PLATFORM_FW_TEXT_LEN]) {
    if (version == nullptr) return kFailure;
    std::string text;
    if (hasHook("extender-firmware-version")) {
        const int result =
            askHook("extender-firmware-version", {orEmpty(ownHostname), orEmpty(hostname)}, &text);
        if (result != 0) text.clear();
        copyText(version, PLATFORM_FW_TEXT_LEN, trim(text));
        return result == 0 && version[0] == '\0' ? kFailure : result;
    }
    const Offer* offer = offerFor(orEmpty(hostname));
    copyText(version, PLATFORM_FW_TEXT_LEN, offer != nullptr ? offer->manifest.version : "");
    return offer != nullptr ? kOk : kFailure;
}

int getDownloanURL(const char* ownHostname, const char* hostname, char url[PLATFORM_FW_URL_LEN],
                   char fileName[PLATFORM_FW_FILE_NAME_LEN]) {
    if (url == nullptr || fileName == nullptr) return kFailure;
    std::string text;
    int result = kOk;
    if (hasHook("extender-firmware-url")) {
        result = askHook("extender-firmware-url", {orEmpty(ownHostname), orEmpty(hostname)}, &text);
        if (result != 0) text.clear();
    } else if (const Offer* offer = offerFor(orEmpty(hostname))) {
        const std::string base = baseUrl();
        if (!base.empty()) text = base + offer->file + "\n" + offer->file;
    }
    copyText(url, PLATFORM_FW_URL_LEN, lineOf(text, 0));
    copyText(fileName, PLATFORM_FW_FILE_NAME_LEN, lineOf(text, 1));
    return result == 0 && url[0] == '\0' ? kFailure : result;
}

// The folder is looked into more often than this asks.
int checkLocalFW(void) {
    return std::exchange(offers.taken, false) ? kOk : kFailure;
}

int set_vsftpd_StartStop(int32_t start) {
    if (hasHook("ftp-server"))
        return startHook("ftp-server", {std::to_string(start)}, kHookLimit, {}) != 0 ? kOk
                                                                                     : kFailure;
    if (conf().has("FIRMWARE_URL")) return kOk;  // somebody else serves
    if (start == 1) return startServer();
    killJob(offers.server);
    return kOk;
}
