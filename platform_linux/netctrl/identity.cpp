// Identity of the device: what platform.conf says, else what the system knows.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <string>

#include "api.h"
#include "base/fd.h"
#include "common/conf.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/picture.h"

namespace plat {
namespace {

std::string readOsRelease() {
    for (const char* path : {"/etc/os-release", "/usr/lib/os-release"}) {
        const Fd file(::open(path, O_RDONLY | O_CLOEXEC));
        std::array<char, 4096> buffer;
        const ssize_t n = file.get() >= 0 ? ::read(file.get(), buffer.data(), buffer.size()) : -1;
        if (n > 0) return std::string(buffer.data(), static_cast<size_t>(n));
    }
    return {};
}

// The value of a key, without its quotes.
std::string valueOf(std::string_view key, std::string_view text) {
    while (!text.empty()) {
        std::string_view line = lineOf(text, 0);
        text.remove_prefix(std::min(text.find('\n'), text.size() - 1) + 1);
        if (!line.starts_with(key) || !line.substr(key.size()).starts_with('=')) continue;
        line.remove_prefix(key.size() + 1);
        if (line.size() >= 2 && (line[0] == '"' || line[0] == '\''))
            line = line.substr(1, line.size() - 2);
        return std::string(line);
    }
    return {};
}

// The value of the first of these keys that os-release has.
std::string fromOsRelease(std::initializer_list<std::string_view> keys) {
    const std::string text = readOsRelease();
    for (const std::string_view key : keys)
        if (std::string value = valueOf(key, text); !value.empty()) return value;
    return {};
}

// 16, with an empty text, when there is nothing to tell.
int answer(char* text, size_t size, std::string_view value) {
    if (text == nullptr) return kFailure;
    copyText(text, size, value);
    return value.empty() ? kFailure : kOk;
}

}  // namespace
}  // namespace plat

using namespace plat;

int getFirmwareVersion(char text[128]) {
    std::string value(conf().value("FIRMWARE_VERSION"));
    if (value.empty()) value = fromOsRelease({"VERSION", "VERSION_ID", "PRETTY_NAME"});
    return answer(text, 128, value);
}

int getHostname(char text[128]) {
    std::string value(conf().value("HOSTNAME"));
    std::array<char, 256> name{};
    if (value.empty() && ::gethostname(name.data(), name.size() - 1) == 0) value = name.data();
    return answer(text, 128, value);
}

int getBuildNumber(char text[32]) {
    std::string value(conf().value("BUILD_NUMBER"));
    if (value.empty()) value = fromOsRelease({"BUILD_ID"});
    return answer(text, 32, value);
}

int getDeviceMode(char text[32]) {
    return answer(text, 32, conf().value("DEVICE_MODE"));
}

int getDeviceLANMac(uint8_t mac[PLATFORM_MAC_LEN]) {
    if (mac == nullptr) return kFailure;
    std::optional<MacAddr> found = parseMac(conf().value("LAN_MAC"));
    // The daemon asks before it starts the library, so there is no picture to look at yet.
    Picture picture;
    if (!found && takePicture({}, &picture)) found = lanMacOf(picture);
    found.value_or(MacAddr{}).copyTo(mac);
    return found ? kOk : kFailure;
}
