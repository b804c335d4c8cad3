// The Wi-Fi stations of this device, from the hook if there is one, else from the kernel and, for
// radios that it does not know, from hostapd.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <limits>
#include <string>

#include "api.h"
#include "base/result.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "hostapd/stations.h"
#include "netctrl/watch.h"
#include "netctrl/wifi_report.h"
#include "netctrl/wireless.h"

namespace {

constexpr char kHook[] = "stations";
constexpr size_t kMaxOutput = size_t{64} * 1024;
constexpr size_t kMaxStations = 1024;
// Complaints per answer: the hook is asked every 2 seconds.
constexpr int kMaxComplaints = 8;
// For all radios together: a busy driver must not hold up the daemon.
constexpr std::chrono::milliseconds kRadioLimit{50};

// Kept open between calls.
std::optional<Nl80211> radios;

// MAC address, media type, rate, RSSI, signal level, Tx, Rx, connection type.
using Fields = std::array<std::string_view, 8>;

// None if the line has more or fewer.
std::optional<Fields> splitLine(std::string_view line) {
    Fields fields;
    for (size_t i = 0; i < fields.size(); i++) {
        const size_t end = line.find(',');
        if ((end == line.npos) != (i + 1 == fields.size())) return {};
        fields[i] = trim(line.substr(0, end));
        line.remove_prefix(end == line.npos ? line.size() : end + 1);
    }
    return fields;
}

std::optional<uint16_t> figure(std::string_view text) {
    const auto value = parseNumber(text);
    if (!value || *value > std::numeric_limits<uint16_t>::max()) return {};
    return static_cast<uint16_t>(*value);
}

std::optional<WifiStation> stationIn(std::string_view line) {
    const auto fields = splitLine(line);
    if (!fields) return {};
    const auto& [macField, type, rateField, rssiField, levelField, tx, rx, connType] = *fields;
    const auto mac = macFromText(macField);
    const auto mediaType = parseNumber(type);
    const auto rate = figure(rateField), rssi = figure(rssiField), level = figure(levelField);
    if (!mac || !mediaType || !rate || !rssi || !level) return {};
    WifiStation station{};
    mac->copyTo(station.mac);
    station.mediaType = *mediaType;
    station.rate = *rate;
    station.rssi = *rssi;
    station.signalLevel = *level;
    copyText(station.tx, tx);
    copyText(station.rx, rx);
    copyText(station.connType, connType);
    return station;
}

// Skips lines of any other form.
std::vector<WifiStation> parseStations(std::string_view lines) {
    std::vector<WifiStation> stations;
    int complaints = 0;
    while (!lines.empty() && stations.size() < kMaxStations) {
        const std::string_view line = takeLine(lines);
        if (const auto station = stationIn(line)) {
            stations.push_back(*station);
        } else if (!line.empty() && complaints++ < kMaxComplaints) {
            LOG_LINE(3, "hook %s: a line does not have 8 valid fields separated by commas", kHook);
        }
    }
    return stations;
}

int askForStations(std::vector<WifiStation>& stations) {
    std::string output;
    const int result = askHook(kHook, {}, output, kMaxOutput);
    if (result == 0) stations = parseStations(output);
    return result;
}

// The stations of all access points and mesh points.
std::vector<OwnStation> stationsOfRadios() {
    Arguments names;
    for (const Intf& intf : reported().intfs) {
        if (intf.hasStations) names.push_back(intf.name);
    }
    std::vector<OwnStation> stations;
    for (const auto& [ifname, lines] : stationsOfHostapd(names)) {
        for (const WifiStation& station : parseStations(lines)) {
            if (stations.size() < kMaxStations) stations.push_back({ifname, station});
        }
    }
    using Clock = std::chrono::steady_clock;
    const auto until = Clock::now() + kRadioLimit;
    for (const Intf& intf : reported().intfs) {
        if (!intf.hasStations) continue;
        if (Clock::now() >= until) break;
        if (!radios || !radios->isThere()) radios.emplace(kRadioLimit);
        const std::string connType = connTypeOf(intf.name, intf.frequency, intf.meshPoint);
        for (WifiStation& station : radios->stations(intf.index)) {
            station.mediaType = intf.mediaType;
            copyText(station.connType, connType);
            if (stations.size() < kMaxStations) stations.push_back({intf.name, station});
        }
    }
    return stations;
}

}  // namespace

int getWIFIConfig(WifiStationList* list) {
    if (list == nullptr) return kFailure;
    *list = {};
    std::vector<OwnStation> stations;
    if (hasHook(kHook)) {
        std::vector<WifiStation> told;
        if (const int result = askForStations(told)) return result;
        for (const WifiStation& station : told) stations.push_back({"", station});
    } else {
        stations = stationsOfRadios();
    }
    noteStations(stations);
    WifiStation** tail = &list->head;
    for (const auto& [ifname, station] : stations) {
        *tail = static_cast<WifiStation*>(malloc(sizeof station));
        if (*tail == nullptr) break;
        **tail = station;
        (*tail)->next = nullptr;
        tail = &(*tail)->next;
        list->count++;
    }
    return kOk;
}
