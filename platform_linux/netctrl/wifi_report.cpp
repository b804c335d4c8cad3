#include "netctrl/wifi_report.h"

#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <map>
#include <utility>

#include "base/own_folder.h"
#include "base/public_file.h"
#include "base/text.h"
#include "common/files.h"
#include "common/log.h"
#include "common/text.h"
#include "hostapd/stations.h"
#include "netctrl/wifi_file.h"

namespace {

// A stranger may invent any number of devices. The oldest one makes room.
constexpr size_t kMaxExchanges = 512;
constexpr unsigned kStationSeconds = 10;
constexpr size_t kMaxStations = 1024;

constexpr const char* kStates[] = {"asking", "configured", "given", "acknowledged", "failed"};

struct Entry {
    MacAddr alMac;
    const WifiBand* band;
    WifiExchange state;
    std::string reason;
    time_t since;
};

struct Received {
    std::string file;
    WifiConf networks;  // without keys
};

struct {
    std::vector<Entry> exchanges;            // the last one at the end
    std::map<uint8_t, Received> received{};  // by number of the band
    std::vector<OwnStation> stations{};
    std::vector<std::string> radios{};
    bool isChanged = false;
    bool haveStationsChanged = false;
    unsigned age = 0;  // seconds since the file was written
} report;

std::string path() {
    return ownFolder() + "/wifi.json";
}

// For texts that have no control characters.
std::string quoted(std::string_view text) {
    std::string made = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') made += '\\';
        made += c;
    }
    return made + "\"";
}

// ["2.4", "5"]
std::string bandList(const std::vector<uint8_t>& bands) {
    std::string text;
    for (const uint8_t band : bands) {
        text += (text.empty() ? "" : ", ") + quoted(wifiBandOf(band)->name);
    }
    return "[" + text + "]";
}

// Lines of a list, each an object.
void addList(std::string& out, const char* name, const std::vector<std::string>& objects) {
    out.append(",\n\"").append(name).append("\": [");
    for (size_t i = 0; i < objects.size(); i++) {
        out.append(i == 0 ? "\n{" : ",\n{").append(objects[i]).append("}");
    }
    out += "]";
}

std::string networkObject(const ConfiguredNetwork& each, const std::string& file) {
    return "\"name\": " + quoted(each.name) + ", \"bands\": " + bandList(each.bands) +
           ", \"ssid\": \"" + hexText(each.network.ssid.view()) +
           "\", \"authentication\": " + quoted(authenticationName(each.network.auth)) +
           ", \"file\": " + quoted(file);
}

std::vector<std::string> networkObjects(bool isRegistrar) {
    std::vector<std::string> made;
    if (isRegistrar) {
        for (const auto& each : allConfiguredNetworks()) {
            made.push_back(networkObject(each, wifiFilePath()));
        }
        return made;
    }
    for (const auto& [number, received] : report.received) {
        for (const auto& each : received.networks) {
            made.push_back(networkObject(each, received.file));
        }
    }
    return made;
}

std::string exchangeObject(const Entry& each) {
    const std::string band = each.band != nullptr ? quoted(each.band->name) : "null";
    return "\"al_mac\": \"" + macText(each.alMac) + "\", \"band\": " + band + ", \"state\": \"" +
           kStates[static_cast<size_t>(each.state)] +
           "\", \"since\": " + std::to_string(each.since) + ", \"reason\": " + quoted(each.reason);
}

std::string stationObject(const OwnStation& each) {
    const WifiStation& s = each.station;
    const auto text = [](const char* value) { return quoted(plainText(value)); };
    return "\"mac\": \"" + macText(s.mac) + "\", \"interface\": " + quoted(each.ifname) +
           ", \"media_type\": " + std::to_string(s.mediaType) +
           ", \"rate\": " + std::to_string(s.rate) + ", \"rssi\": " + std::to_string(s.rssi) +
           ", \"signal\": " + std::to_string(s.signalLevel) + ", \"tx\": " + text(s.tx) +
           ", \"rx\": " + text(s.rx) + ", \"connection\": " + text(s.connType);
}

std::string radioObject(const ShownBss& each) {
    return "\"interface\": " + quoted(each.ifname) + ", \"band\": " + quoted(each.band) +
           ", \"on\": " + (each.isOn ? "true" : "false") +
           ", \"channel\": " + std::to_string(each.channel) +
           ", \"ssid\": " + quoted(plainText(each.ssid));
}

template <typename List, typename Object>
std::vector<std::string> objectsOf(const List& list, Object object) {
    std::vector<std::string> made;
    for (const auto& each : list) made.push_back(object(each));
    return made;
}

void writeReport() {
    WpsConfig config{};
    (void)getWPSConfig(&config);
    const bool isRegistrar = config.deviceType == PLATFORM_REGISTRAR;
    std::string text =
        std::string("{\n\"role\": \"") + (isRegistrar ? "Registrar" : "Enrollee") + "\"";
    addList(text, "networks", networkObjects(isRegistrar));
    addList(text, "radios", report.radios);
    addList(text, "exchanges", objectsOf(report.exchanges, exchangeObject));
    addList(text, "stations", objectsOf(report.stations, stationObject));
    text += "\n}\n";
    const std::string trouble =
        makeOwnFolder() ? replacePublicFile(path(), text, 0644) : "there is no safe folder";
    if (!trouble.empty()) LOG_LINE(2, "%s: %s", path().c_str(), trouble.c_str());
}

bool isSame(const OwnStation& a, const OwnStation& b) {
    return stationObject(a) == stationObject(b);
}

}  // namespace

void noteExchange(const MacAddr& alMac, const WifiBand* band, WifiExchange state,
                  const std::string& reason) {
    std::erase_if(report.exchanges,
                  [&](const Entry& each) { return each.alMac == alMac && each.band == band; });
    if (report.exchanges.size() >= kMaxExchanges) report.exchanges.erase(report.exchanges.begin());
    report.exchanges.push_back({alMac, band, state, reason, time(nullptr)});
    report.isChanged = true;
}

void noteReceived(const WifiBand& band, const std::string& file, const WifiConf& networks) {
    Received& received = report.received[band.number] = {file, {}};
    for (const ConfiguredNetwork& each : networks) {
        received.networks.push_back(
            {each.name, {band.number}, {each.network.ssid, each.network.auth, {}}});
    }
    report.isChanged = true;
}

void noteWifiFileChange() {
    report.isChanged = true;
}

void noteStations(std::vector<OwnStation> stations) {
    if (stations.size() > kMaxStations) stations.resize(kMaxStations);
    if (std::ranges::equal(stations, report.stations, isSame)) return;
    report.stations = std::move(stations);
    report.haveStationsChanged = true;
}

void publishWifi() {
    if (auto radios = objectsOf(bssOfHostapd(), radioObject); radios != report.radios) {
        report.radios = std::move(radios);
        report.isChanged = true;
    }
    report.age++;
    if (!report.isChanged && (!report.haveStationsChanged || report.age < kStationSeconds)) return;
    report.isChanged = report.haveStationsChanged = false;
    report.age = 0;
    writeReport();
}

void dropWifiReport() {
    report = {};
    (void)unlink(path().c_str());
}
