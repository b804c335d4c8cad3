#include "netctrl/notices.h"

#include <array>
#include <optional>
#include <utility>

namespace {

// Only the newest of each kind matters.
struct {
    bool wps = false;
    std::optional<uint32_t> newFirmware;
    std::optional<uint32_t> firmwareState;
    std::optional<std::string> led;
} notices;

// The record of NET_STATUS_LED, of which the daemon reads 32 bytes.
std::array<char, 33> ledRecord(const std::string& text) {
    std::array<char, 33> record{};
    text.copy(record.data(), record.size() - 1);
    return record;
}

}  // namespace

void noteWpsChange() {
    notices.wps = true;
}
void noteNewFirmware(uint32_t result) {
    notices.newFirmware = result;
}
void noteFirmwareState(uint32_t state) {
    notices.firmwareState = state;
}
void noteLedStatus(const std::string& text) {
    notices.led = text;
}

void dropNotices() {
    notices = {};
}

void reportNotices(NetStatusEventCallback callback) {
    if (callback == nullptr) return;
    const auto waiting = std::exchange(notices, {});
    uint32_t result = 0;
    if (waiting.wps) callback(NET_STATUS_WPS_CONFIG, &waiting.wps, &result);
    if (waiting.newFirmware) callback(NET_STATUS_NEW_FIRMWARE, &*waiting.newFirmware, &result);
    if (waiting.firmwareState) callback(NET_STATUS_FW_UPGRADE, &*waiting.firmwareState, &result);
    if (waiting.led) callback(NET_STATUS_LED, ledRecord(*waiting.led).data(), &result);
}
