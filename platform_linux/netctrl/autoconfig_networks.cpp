#include "netctrl/autoconfig_networks.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <iterator>
#include <map>

#include "api.h"
#include "base/own_folder.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/secret.h"
#include "common/text.h"
#include "hostapd/work.h"
#include "netctrl/wifi_file.h"
#include "netctrl/wifi_report.h"

namespace {

constexpr const char* kHook = "autoconf-networks";
constexpr unsigned kHookGap = 30;  // seconds until a hook that failed is run again
constexpr size_t kMostText = size_t{64} * 1024;
constexpr unsigned kMaxHooks = 5;  // attempts for the same networks

// A band whose networks the hook has yet to set.
struct Band {
    NetworksTried tried;
    unsigned wait = 0;
    unsigned attempts = 0;
    bool isRunning = false;  // with these networks
};

struct {
    std::map<uint8_t, std::string> times;  // by number of the band
    std::map<uint8_t, Band> bands;         // by number
} received;

void runNextHook();

std::string networksFile(const WifiBand& band) {
    return ownFolder() + "/wifi-" + std::to_string(band.number) + ".conf";
}

// When the networks of a band were last configured: the Registrar's text on an Enrollee, the time
// of its own file on a Registrar. Empty if never.
std::string timeOf(const WifiBand& band) {
    WpsConfig config{};
    (void)getWPSConfig(&config);
    if (config.deviceType == PLATFORM_REGISTRAR) {
        const auto own = configuredNetworks(band.number);
        return own && !own->empty() ? wifiFileTime() : "";
    }
    const auto found = received.times.find(band.number);
    return found != received.times.end() ? found->second : "";
}

void finishHook(uint8_t number, int status) {
    const auto found = received.bands.find(number);
    // Other networks may have arrived meanwhile.
    if (found != received.bands.end() && found->second.isRunning) {
        Band& band = found->second;
        band.isRunning = false;
        band.wait = kHookGap;
        const NetworksTried tried = band.tried;
        const bool isLast = status == 0 || ++band.attempts == kMaxHooks;
        if (isLast) received.bands.erase(found);
        std::string trouble;
        if (status != 0) {
            trouble = "the hook autoconf-networks failed: " + std::to_string(status);
            LOG_LINE(1, "band %s: %s%s", std::string(wifiBandOf(number)->name).c_str(),
                     trouble.c_str(), isLast ? "; it is not tried again" : "");
        }
        if (tried) tried(trouble);
    }
    runNextHook();
}

// The hook sets one band at a time.
void runNextHook() {
    const auto next = std::ranges::find_if(received.bands, [](const auto& each) {
        return !each.second.isRunning && each.second.wait == 0;
    });
    if (next == received.bands.end() || isJobRunning(std::string("hook ") + kHook)) return;
    const uint8_t number = next->first;
    next->second.isRunning = true;
    const auto done = [number](int status, const std::string&) { finishHook(number, status); };
    if (startHook(kHook, {std::to_string(number)}, {}, done) == 0) finishHook(number, kFailure);
}

// Whether these networks, already in the file, are being set.
bool isBeingSet(uint8_t number, const std::string& path, std::string_view text) {
    const auto found = received.bands.find(number);
    if (found == received.bands.end() || !found->second.isRunning) return false;
    std::string kept = readFile(path, text.size() + 1, Links::kRefuse);
    const bool isSame = kept == text;
    eraseSecret(kept);
    return isSame;
}

void recallFile(const std::string& path) {
    std::string text = readFile(path, kMostText, Links::kRefuse);
    const auto conf = parseWifiConf(text, [](int, const std::string&) {});
    eraseSecret(text);
    if (!conf) return;
    for (const WifiBand& band : kWifiBandTable) {
        WifiConf networks;
        std::ranges::copy_if(*conf, std::back_inserter(networks),
                             [&band](const auto& each) { return each.isOn(band.number); });
        if (!networks.empty()) noteReceived(band, path, networks);
    }
}

}  // namespace

bool applyNetworks(const ReceivedNetworks& given, const NetworksTried& tried) {
    const WifiBand& band = *given.band;
    WifiConf conf;
    for (const WifiNetwork& network : given.networks) {
        conf.push_back({"network-" + std::to_string(conf.size() + 1), {band.number}, network});
    }
    std::string text = writeWifiConf(conf);
    const std::string path = networksFile(band);
    const bool isRunning = isBeingSet(band.number, path, text);
    const bool isWritten = makeOwnFolder() && writeSecretFile(path, text);
    eraseSecret(text);
    if (!isWritten) {
        LOG_LINE(1, "the networks of this device cannot be written to %s", path.c_str());
        if (tried) tried(path + " cannot be written");
        return false;
    }
    noteReceived(band, path, conf);
    LOG_LINE(3, "autoconf: this device has %zu networks on band %s", given.networks.size(),
             std::string(band.name).c_str());
    const NetworksTried done = [tried, number = band.number,
                                time = given.updateTime.empty()
                                           ? wifiTimeText(time(nullptr))
                                           : given.updateTime](const std::string& trouble) {
        if (trouble.empty()) received.times[number] = time;
        if (tried) tried(trouble);
    };
    if (hasHook(kHook)) {
        received.bands[band.number] = {done, 0, 0, isRunning};
        runNextHook();
    } else {
        received.bands.erase(band.number);
        giveToHostapd(band.number, done);
    }
    return true;
}

std::string settingsFile() {
    const std::string_view given = conf().value("WIFI_SETTINGS_FILE");
    return given.empty() ? "/etc/vm1905/wifi-received.conf" : std::string(given);
}

void recallNetworks() {
    recallFile(settingsFile());
    // These are newer.
    for (const WifiBand& band : kWifiBandTable) recallFile(networksFile(band));
}

void tickNetworks() {
    for (auto& [number, band] : received.bands) {
        if (band.wait > 0) band.wait--;
    }
    runNextHook();
}

void dropNetworks() {
    received = {};
}

// What hooks configure is unknown.
int getAPautoconfigTimes(AutoConfTimes* times) {
    if (times == nullptr) return kFailure;
    *times = {};
    for (const WifiBand& band : kWifiBandTable) {
        if (band.timeIndex >= 0) copyText(times->time[band.timeIndex], timeOf(band));
    }
    return kOk;
}
