// Identity of the device, from platform.conf or else from the system.
#include <unistd.h>

#include <array>
#include <string>

#include "api.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/files.h"
#include "common/text.h"
#include "netctrl/picture.h"

namespace {

// The value of the first of these keys that os-release has, without its quotes.
std::string fromOsRelease(std::initializer_list<std::string_view> keys) {
    constexpr size_t kMost = 4096;
    std::string text = readFile("/etc/os-release", kMost);
    if (text.empty()) text = readFile("/usr/lib/os-release", kMost);
    for (const std::string_view wanted : keys) {
        for (std::string_view left = text; !left.empty();) {
            const auto entry = parseKeyValue(takeLine(left));
            if (!entry || entry->key != wanted) continue;
            std::string_view value = entry->value;
            const bool quoted = value.size() >= 2 && (value[0] == '"' || value[0] == '\'');
            if (quoted) value = value.substr(1, value.size() - 2);
            if (!value.empty()) return std::string(value);
        }
    }
    return {};
}

// An unknown text is empty, and a failure.
int answerKnown(char* text, size_t size, std::string_view value) {
    const int result = answerText(text, size, value);
    return value.empty() ? kFailure : result;
}

}  // namespace

int getFirmwareVersion(char text[128]) {
    std::string value(conf().value("FIRMWARE_VERSION"));
    if (value.empty()) value = fromOsRelease({"VERSION", "VERSION_ID", "PRETTY_NAME"});
    return answerKnown(text, 128, value);
}

int getHostname(char text[128]) {
    std::string value(conf().value("HOSTNAME"));
    std::array<char, 256> name{};
    if (value.empty() && gethostname(name.data(), name.size() - 1) == 0) value = name.data();
    return answerKnown(text, 128, value);
}

int getBuildNumber(char text[32]) {
    std::string value(conf().value("BUILD_NUMBER"));
    if (value.empty()) value = fromOsRelease({"BUILD_ID"});
    return answerKnown(text, 32, value);
}

int getDeviceMode(char text[32]) {
    return answerKnown(text, 32, conf().value("DEVICE_MODE"));
}

int getDeviceLANMac(uint8_t mac[PLATFORM_MAC_LEN]) {
    if (mac == nullptr) return kFailure;
    std::optional<MacAddr> found = macFromText(conf().value("LAN_MAC"));
    // The daemon asks before it starts the library, so there is no picture yet.
    if (!found) {
        const std::optional<Picture> picture = takePicture({});
        if (picture) found = lanMacOf(*picture);
    }
    found.value_or(MacAddr{}).copyTo(mac);
    return found ? kOk : kFailure;
}
