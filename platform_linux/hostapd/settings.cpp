#include "hostapd/settings.h"

#include <sys/stat.h>

#include "base/own_folder.h"
#include "common/files.h"
#include "common/secret.h"
#include "common/text.h"
#include "netctrl/autoconfig_networks.h"
#include "wsc/wifi_conf.h"

namespace {

constexpr size_t kMostText = size_t{64} * 1024;
constexpr std::string_view kHead = "# Networks that a Registrar has given, on the bands ";

// A file with keys, which is erased after use.
struct SecretText {
    std::string text;
    ~SecretText() { eraseSecret(text); }
};

std::optional<WifiConf> parseNetworks(std::string_view text) {
    // A line of it could show a key.
    return parseWifiConf(text, [](int, const std::string&) {});
}

}  // namespace

std::string writeSettings(const BandNetworks& bands) {
    WifiConf all;
    std::string head(kHead);
    for (const auto& [number, networks] : bands) {
        head.append(wifiBandOf(number)->name).append(" ");
        for (const WifiNetwork& network : networks) {
            all.push_back({"network-" + std::to_string(all.size() + 1), {number}, network});
        }
    }
    SecretText body{writeWifiConf(all)};
    std::string text;
    text.reserve(head.size() + body.text.size() + 1);
    return text.append(head).append("\n").append(body.text);
}

std::optional<BandNetworks> parseSettings(std::string_view text) {
    const auto conf = parseNetworks(text);
    if (!conf || !text.starts_with(kHead)) return std::nullopt;
    BandNetworks bands;
    forEachWord(takeLine(text).substr(kHead.size() - 1), [&bands](std::string_view word) {
        const auto* band = std::ranges::find(kWifiBandTable, word, &WifiBand::name);
        if (band != std::end(kWifiBandTable)) bands[band->number];
    });
    for (const ConfiguredNetwork& each : *conf) {
        for (const uint8_t number : each.bands) bands[number].push_back(each.network);
    }
    return bands;
}

bool updateSettings(BandNetworks& bands) {
    const std::string path = settingsFile();
    const SecretText before{readFile(path, kMostText)};
    auto kept = parseSettings(before.text);
    const bool wasWrong = !before.text.empty() && !kept;
    if (kept) bands = std::move(*kept);
    for (const WifiBand& band : kWifiBandTable) {
        const std::string fresh = ownFolder() + "/wifi-" + std::to_string(band.number) + ".conf";
        struct stat info {};
        if (lstat(fresh.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
        const SecretText text{readFile(fresh, kMostText, Links::kRefuse)};
        const auto networks = parseNetworks(text.text);
        if (!networks) continue;
        bands[band.number].clear();
        for (const ConfiguredNetwork& each : *networks) {
            bands[band.number].push_back(each.network);
        }
    }
    const SecretText now{bands.empty() ? "" : writeSettings(bands)};
    const bool isWritten =
        now.text == before.text || now.text.empty() || writeSecretFile(path, now.text);
    return isWritten && !wasWrong;
}
