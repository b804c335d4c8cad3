#include "netctrl/wifi_given.h"

#include <array>
#include <cstdio>
#include <span>
#include <string>
#include <string_view>

#include "common/log.h"
#include "common/secret.h"
#include "common/text.h"
#include "netctrl/wifi_file.h"
#include "platform/exports.h"
#include "wsc/crypto.h"

namespace {

constexpr const char* kName = "wifi_given";

// "NUMBER SALT DIGEST", both in hexadecimal. Empty if OpenSSL fails.
std::string lineOf(const WifiBand& band, std::span<const uint8_t> salt) {
    std::string text = writeWifiConf(configuredNetworks(band.number).value_or(WifiConf{}));
    std::array<uint8_t, kSha256Size> digest{};
    const bool isMade = slowDigest(wscBytes(text), salt, digest);
    eraseSecret(text);
    if (!isMade) return {};
    return std::to_string(band.number) + " " + hexText(salt) + " " + hexText(digest) + "\n";
}

}  // namespace

std::set<uint8_t> changedSinceStored() {
    char stored[1024] = {};
    std::set<uint8_t> changed;
    if (loadState(kName, stored, sizeof stored) != 0) return changed;
    std::string_view text = stored;
    for (const WifiBand& band : kWifiBandTable) {
        const std::string line(takeLine(text));
        char salt[2 * kWscNonceSize + 1] = {};
        (void)sscanf(line.c_str(), "%*u %32s", salt);
        const auto bytes = parseHex(salt);
        if (!bytes || line + "\n" != lineOf(band, *bytes)) changed.insert(band.number);
    }
    return changed;
}

void storeGiven() {
    std::string text;
    for (const WifiBand& band : kWifiBandTable) {
        std::array<uint8_t, kWscNonceSize> salt{};
        if (fillRandom(salt)) text += lineOf(band, salt);
    }
    if (saveState(kName, text.c_str()) == 0) return;
    LOG_LINE(2,
             "autoconf: it cannot be stored which networks were given: changes of wifi.conf "
             "during a restart will not be noticed");
}
