#include "netctrl/firmware_state.h"

#include <array>
#include <string_view>

#include "base/result.h"
#include "common/text.h"
#include "netctrl/notices.h"

namespace {

constexpr std::array<std::string_view, 6> kLabels = {"Failed",  "Idle",       "Busy",
                                                     "Upgrade", "Upgrade_EX", "Reboot"};
static_assert(kLabels[PLATFORM_FW_REBOOT] == "Reboot");

struct {
    uint32_t state = PLATFORM_FW_IDLE;
} firmware;

std::optional<uint32_t> stateOf(std::string_view text) {
    for (uint32_t state = 0; state < kLabels.size(); state++) {
        if (kLabels[state] == text) return state;
    }
    const auto value = parseNumber(text);
    return value && *value < kLabels.size() ? value : std::nullopt;
}

}  // namespace

void setFirmwareState(uint32_t state) {
    if (state != firmware.state) noteFirmwareState(state);
    firmware.state = state;
}

uint32_t firmwareState() {
    return firmware.state;
}

int getfirmwareStatus(int32_t, int32_t, uint32_t* status) {
    if (status == nullptr) return kFailure;
    *status = firmware.state;
    return kOk;
}

int setFWState(const char* state) {
    const auto value = stateOf(trim(orEmpty(state)));
    if (!value) return kFailure;
    setFirmwareState(*value);
    return kOk;
}

int setFWresult(int32_t result) {
    noteNewFirmware(static_cast<uint32_t>(result));
    return kOk;
}
