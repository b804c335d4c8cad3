#include "netctrl/firmware_offer.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/command.h"
#include "common/conf.h"
#include "common/helper.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/firmware_image.h"
#include "netctrl/firmware_own.h"
#include "netctrl/firmware_rounds.h"
#include "netctrl/firmware_server.h"
#include "netctrl/firmware_trust.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostOffers = 32;

enum class Check { kWaiting, kGood, kBad };

struct Offer {
    std::string file;                                       // name of the image
    Stamp manifestStamp{}, signatureStamp{}, imageStamp{};  // all zero: no such file
    Manifest manifest;
    Check check = Check::kWaiting;
};

struct {
    std::vector<Offer> list;
    std::optional<Digest> digest;            // of the first offer that waits
    std::filesystem::file_time_type keys{};  // of the last look
    UpgradeRounds rounds;
    bool taken = false;  // an image has been verified since checkLocalFW was called
} offers;

std::string pathOf(const std::string& name) {
    return firmwareFolder() + "/" + name;
}

// The images in the folder that have a manifest, sorted by name.
std::vector<std::string> announcedFiles() {
    std::vector<std::string> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(firmwareFolder(), error), end;
         !error && entry != end; entry.increment(error)) {
        std::string name = entry->path().filename();
        if (!name.ends_with(kManifestSuffix) || !isPlainName(name)) continue;
        name.resize(name.size() - kManifestSuffix.size());
        if (!name.empty()) files.push_back(std::move(name));
    }
    std::sort(files.begin(), files.end());
    if (files.size() > kMostOffers) files.resize(kMostOffers);
    return files;
}

std::string manifestOf(const std::string& file) {
    return file + std::string(kManifestSuffix);
}

std::string signatureOf(const std::string& file) {
    return manifestOf(file) + std::string(kSignatureSuffix);
}

void readOffer(Offer& offer) {
    Refusal why;
    auto manifest = readTrusted(pathOf(offer.file), why);
    if (manifest) {
        offer.manifest = std::move(*manifest);
        if (offer.imageStamp[0] == static_cast<int64_t>(offer.manifest.size)) return;
        why = "its size is another than in its manifest";
    }
    offer.check = Check::kBad;
    LOG_LINE(1, "firmware: %s is not announced: %s", offer.file.c_str(), why.c_str());
}

// Takes up changes in the folder. Unchanged images stay verified while the keys stay the same.
void lookForOffers() {
    std::vector<Offer> found;
    const auto keys = keysChanged();
    bool changed = keys != offers.keys;
    if (changed) offers.list.clear();
    offers.keys = keys;
    for (const std::string& file : announcedFiles()) {
        const auto image = stampOf(pathOf(file));
        const auto manifest = stampOf(pathOf(manifestOf(file)));
        if (!image || !manifest) continue;
        Offer offer{file,   *manifest, stampOf(pathOf(signatureOf(file))).value_or(Stamp{}),
                    *image, {},        Check::kWaiting};
        const auto known =
            std::find_if(offers.list.begin(), offers.list.end(), [&](const Offer& old) {
                return old.file == file && old.imageStamp == offer.imageStamp &&
                       old.manifestStamp == offer.manifestStamp &&
                       old.signatureStamp == offer.signatureStamp;
            });
        if (known != offers.list.end()) {
            offer = *known;
        } else {
            changed = true;
            if (isConfined()) (void)runCommand("adopt images", false);
            readOffer(offer);
        }
        found.push_back(std::move(offer));
    }
    if (!changed && found.size() == offers.list.size()) return;
    offers.list = std::move(found);
    offers.digest.reset();
    stopServer();
    offers.rounds.restart();
    retryOwn();
}

Offer* firstWaiting() {
    const auto it = std::find_if(offers.list.begin(), offers.list.end(),
                                 [](const Offer& offer) { return offer.check == Check::kWaiting; });
    return it != offers.list.end() ? &*it : nullptr;
}

// The verified image for a device, nullptr if there is none. Images for certain hosts take
// precedence, then the newest manifest.
const Offer* offerFor(const std::string& hostname) {
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

bool isRegistrar() {
    WpsConfig config{};
    return getWPSConfig(&config) == kOk && config.deviceType == PLATFORM_REGISTRAR;
}

void dropOffers() {
    stopServer();
    retryOwn();
    offers = {};
}

}  // namespace

std::string firmwareFolder() {
    const std::string_view given = conf().value("FIRMWARE_FOLDER");
    return std::string(given.empty() ? "/var/lib/vm1905/firmware" : given);
}

void directOffers() {
    if (!isRegistrar()) {
        if (!offers.list.empty()) dropOffers();
        return;
    }
    lookForOffers();
    const auto isGood = [](const Offer& offer) { return offer.check == Check::kGood; };
    if (firstWaiting() != nullptr || std::none_of(offers.list.begin(), offers.list.end(), isGood)) {
        return;
    }
    const bool wasServing = offers.rounds.isServing();
    const bool isNext = offers.rounds.advance(Clock::now());
    if (wasServing && !offers.rounds.isServing()) stopServer();
    char hostname[128];
    getHostname(hostname);
    const Offer* offer = isNext ? offerFor(hostname) : nullptr;
    if (offer != nullptr) installOwn(pathOf(offer->file), offer->manifest);
}

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
    LOG_LINE(
        good ? 3 : 1, "firmware: %s, version %s, %s", offer->file.c_str(),
        offer->manifest.version.c_str(),
        good ? "is announced" : "is not announced: its SHA-256 is another than in its manifest");
}

std::vector<ServedFile> filesToServe() {
    std::vector<ServedFile> files;
    for (const Offer& offer : offers.list) {
        if (offer.check != Check::kGood) continue;
        files.push_back({offer.file, offer.imageStamp});
        files.push_back({manifestOf(offer.file), offer.manifestStamp});
        if (offer.signatureStamp != Stamp{}) {
            files.push_back({signatureOf(offer.file), offer.signatureStamp});
        }
    }
    return files;
}

void forgetOffers() {
    offers = {};
}

int getNewFWVersionByPlatform(const char* ownHostname, const char* hostname,
                              char version[PLATFORM_FW_TEXT_LEN]) {
    if (version == nullptr) return kFailure;
    if (hasHook("extender-firmware-version")) {
        return askForText("extender-firmware-version", {orEmpty(ownHostname), orEmpty(hostname)},
                          version, PLATFORM_FW_TEXT_LEN);
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
        result = askHook("extender-firmware-url", {orEmpty(ownHostname), orEmpty(hostname)}, text);
        if (result != 0) text.clear();
    } else if (const Offer* offer = offerFor(orEmpty(hostname))) {
        const std::string base = firmwareUrl();
        if (!base.empty()) text = base + offer->file + "\n" + offer->file;
    }
    copyText(url, PLATFORM_FW_URL_LEN, lineOf(text, 0));
    copyText(fileName, PLATFORM_FW_FILE_NAME_LEN, lineOf(text, 1));
    return result == 0 && url[0] == '\0' ? kFailure : result;
}

// Meant: does not look into the folder, since directOffers does so more often.
int checkLocalFW() {
    return std::exchange(offers.taken, false) ? kOk : kFailure;
}
