#include "netctrl/autoconfig_networks.h"

#include <cstdio>
#include <ctime>
#include <map>

#include "api.h"
#include "base/own_folder.h"
#include "base/result.h"
#include "common/files.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/secret.h"
#include "common/text.h"
#include "hostapd/work.h"
#include "netctrl/wifi_file.h"

namespace {

struct {
    std::map<uint8_t, std::string> times;  // by number of the band
} received;

constexpr const char* kHook = "autoconf-networks";

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

}  // namespace

void applyNetworks(const ReceivedNetworks& given) {
    const WifiBand& band = *given.band;
    WifiConf conf;
    for (const WifiNetwork& network : given.networks) {
        conf.push_back({"network-" + std::to_string(conf.size() + 1), {band.number}, network});
    }
    std::string text = writeWifiConf(conf);
    const std::string number = std::to_string(band.number);
    const std::string path = ownFolder() + "/wifi-" + number + ".conf";
    if (!makeOwnFolder() || !writeSecretFile(path, text)) {
        LOG_LINE(1, "the networks of this device cannot be written to %s", path.c_str());
    }
    eraseSecret(text);
    LOG_LINE(3, "autoconf: this device has %zu networks on band %s", given.networks.size(),
             std::string(band.name).c_str());
    received.times[band.number] =
        given.updateTime.empty() ? wifiTimeText(time(nullptr)) : given.updateTime;
    if (hasHook(kHook)) {
        (void)runHook(kHook, {number});
    } else {
        giveToHostapd();
    }
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
