#include "hostapd/stations.h"

#include <algorithm>
#include <sstream>

#include "base/result.h"
#include "common/conf.h"
#include "common/job.h"
#include "common/log.h"
#include "common/text.h"
#include "hostapd/bss.h"
#include "hostapd/channel.h"
#include "hostapd/radios.h"
#include "netctrl/wireless.h"

namespace {

constexpr const char* kProgram = "hostapd stations";
constexpr size_t kMostOutput = size_t{64} * 1024;
constexpr size_t kMostStations = 1024;

constexpr char kBssMark = '#';

struct {
    std::vector<BssStations> stations;
    std::vector<ShownBss> bss;
    std::string failure;  // of the last answer
} known;

bool isLeftOut(const HostapdBss& bss, const Arguments& except) {
    return std::ranges::find(except, bss.ifname) != except.end() ||
           conf().matches("EXCLUDE", bss.ifname);
}

// MHz. Without a channel, one of the band that platform.conf names.
uint32_t frequencyOf(const HostapdBss& bss, const HostapdValues& status) {
    if (const uint32_t shown = parseNumber(status.value("freq")).value_or(0); shown != 0)
        return shown;
    if (bss.band.ends_with("2.4")) return 2412;
    return bss.band == "6" ? 5955 : 5180;
}

std::string lineOf(const HostapdBss& bss, uint32_t frequency, std::string_view mac,
                   const HostapdValues& shown) {
    // Further words describe the modulation.
    const auto rate = [&shown](std::string_view name) {
        const std::string_view text = shown.value(name);
        return parseNumber(text.substr(0, text.find(' '))).value_or(0);
    };
    const uint32_t tx = rate("tx_rate_info");
    WifiStation station{};
    if (const std::string_view signal = shown.value("signal"); signal.starts_with('-')) {
        setStrength(-static_cast<int>(parseNumber(signal.substr(1)).value_or(0)), station);
    }
    std::string line(mac);
    const std::string_view type = conf().value("MEDIA_TYPE." + bss.ifname);
    for (const std::string& field :
         {type.empty() ? std::to_string(mediaTypeOf(frequency)) : std::string(type),
          std::to_string(tx / 10), std::to_string(station.rssi),
          std::to_string(station.signalLevel), rateText(tx), rateText(rate("rx_rate_info")),
          connTypeOf(bss.ifname, frequency, false)}) {
        line.append(",").append(field);
    }
    return line + "\n";
}

// After a failure, the lines have those that were read before it.
void addStations(const HostapdBss& bss, const HostapdLog& log, std::string& lines) {
    HostapdControl control(bss.ifname, log);
    const auto status = control.isOpen() ? control.ask("STATUS") : std::nullopt;
    if (!status) return;
    const HostapdValues values(*status);
    const uint32_t frequency = frequencyOf(bss, values);
    const uint32_t channel = parseNumber(values.value("channel")).value_or(0);
    lines += kBssMark + bss.ifname + " " + std::string(bandOfFrequency(frequency)) +
             (values.value("state") == "DISABLED" ? " 0 " : " 1 ") + std::to_string(channel) + " " +
             std::string(values.value("ssid[0]")) + "\n";
    auto answer = control.ask("STA-FIRST");
    for (size_t i = 0; answer && !answer->empty() && i < kMostStations; i++) {
        const std::string mac = answer->substr(0, answer->find('\n'));
        const HostapdValues shown(*answer);
        if (!macFromText(mac)) break;
        // Others have not associated yet.
        if (shown.value("flags").find("[ASSOC]") != std::string_view::npos) {
            lines += lineOf(bss, frequency, mac, shown);
        }
        // Refused if the station has left meanwhile.
        answer = control.reply("STA-NEXT " + mac);
        if (answer && answer->starts_with("FAIL")) break;
    }
}

ShownBss bssIn(std::string_view line) {
    ShownBss bss;
    std::istringstream words{std::string(line)};
    words >> bss.ifname >> bss.band >> bss.isOn >> bss.channel;
    words.ignore();
    std::getline(words, bss.ssid);
    return bss;
}

// Lines that begin with '!' are failures. One that lasts is logged once.
void takeOutput(int status, std::string_view output) {
    std::string failure = status != 0 ? "hostapd: the stations cannot be read" : "";
    known.stations.clear();
    known.bss.clear();
    while (!output.empty()) {
        const std::string_view line = takeLine(output);
        if (line.starts_with(kBssMark)) {
            known.bss.push_back(bssIn(line.substr(1)));
            known.stations.push_back({known.bss.back().ifname, {}});
        } else if (line.starts_with('!')) {
            failure.append(line).append("\n");
        } else if (!known.stations.empty()) {
            known.stations.back().lines.append(line).append("\n");
        }
    }
    if (failure != known.failure) {
        for (std::string_view rest = failure; !rest.empty();) {
            const std::string_view line = takeLine(rest);
            LOG_LINE(1, "%s", std::string(line.substr(line.starts_with('!') ? 1 : 0)).c_str());
        }
    }
    known.failure = failure;
}

}  // namespace

std::vector<BssStations> stationsOfHostapd(const Arguments& except) {
    const auto isExcepted = [&except](const HostapdBss& bss) { return isLeftOut(bss, except); };
    const auto stamp = hostapdStamp();  // none: only the program may look
    if (stamp && (stamp->empty() || std::ranges::all_of(listBss(), isExcepted))) {
        known = {};
    } else if (!isJobRunning(kProgram)) {
        (void)startJob(kProgram, except, {.maxOutput = kMostOutput},
                       [](int status, const std::string& output) { takeOutput(status, output); });
    }
    return known.stations;
}

const std::vector<ShownBss>& bssOfHostapd() {
    return known.bss;
}

void dropHostapdStations() {
    known = {};
}

int runHostapdStations(const Arguments& except) {
    std::string lines;
    const HostapdLog log = [&lines](int, const std::string& line) { lines += "!" + line + "\n"; };
    for (const HostapdBss& bss : listBss()) {
        if (!isLeftOut(bss, except)) addStations(bss, log, lines);
    }
    const ssize_t size = write(STDOUT_FILENO, lines.data(), lines.size());
    return size == static_cast<ssize_t>(lines.size()) ? kOk : kFailure;
}
