// WPS and auto-configuration settings, kept in memory. Management processes set them; the daemon
// keeps a copy.
#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <optional>
#include <set>

#include "api.h"
#include "base/result.h"
#include "common/conf.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/lifecycle.h"
#include "netctrl/notices.h"
#include "netctrl/renew.h"
#include "netctrl/wifi_report.h"
#include "wsc/network.h"

namespace {

using Clock = std::chrono::steady_clock;

// A renew ends after this time at the latest. An Enrollee that has not heard the Registrar for 130
// seconds searches again, so the two leave no gap.
constexpr std::chrono::seconds kRenewLimit{150};
constexpr unsigned kRepeatPeriod = 10;  // seconds between two repetitions of a renew

struct Band {
    uint8_t code;
    WpsBandConfig config;
};

using Bands = std::array<Band, 5>;

// New values of the device mode that must be confirmed in time.
struct Trial {
    WpsConfig before;
    Bands bandsBefore;
    Clock::time_point until;
};

struct {
    WpsConfig config{};
    Bands bands{{{0, {}}, {1, {}}, {kBand6GHz, {}}, {32, {}}, {33, {}}}};
    uint8_t reload = 0;
    uint8_t autoconfig = 0;
    bool approveAll = false;
    std::optional<Clock::time_point> renewUntil;
    std::set<uint8_t> renewBands;  // of the renews that wait
    unsigned renewAge = 0;         // seconds since the last of them was sent
    std::optional<Trial> trial;
} wps;

uint8_t low8(int32_t value) {
    return static_cast<uint8_t>(value);
}

// Stores a value; the next runNetCtrl reports a change.
template <typename Value>
void change(Value& field, const Value& value) {
    if (memcmp(&field, &value, sizeof value) == 0) return;
    field = value;
    noteWpsChange();
}

Band* bandOf(uint32_t code) {
    const auto found = std::find_if(wps.bands.begin(), wps.bands.end(),
                                    [code](const Band& band) { return band.code == code; });
    return found != wps.bands.end() ? &*found : nullptr;
}

}  // namespace

int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse) {
    if (deviceType != PLATFORM_REGISTRAR && deviceType != PLATFORM_ENROLLEE) return kFailure;
    wps.trial.reset();
    const WpsConfig config{low8(deviceType), low8(sendSearch), low8(sendResponse)};
    // A value that changes holds for every band, until the band gets its own again.
    for (Band& each : wps.bands) {
        WpsBandConfig own = each.config;
        if (config.sendSearch != wps.config.sendSearch) own.sendSearch = config.sendSearch;
        if (config.sendResponse != wps.config.sendResponse) own.sendResponse = config.sendResponse;
        change(each.config, own);
    }
    change(wps.config, config);
    return kOk;
}

int getWPSConfig(WpsConfig* config) {
    if (config == nullptr) return kFailure;
    *config = wps.config;
    return kOk;
}

int setWPSConfigChangetimeout(int32_t deviceType, int32_t sendSearch, int32_t sendResponse,
                              int32_t timeout) {
    // A trial within a trial falls back to the values from before the first one.
    const WpsConfig before = wps.trial ? wps.trial->before : wps.config;
    const Bands bandsBefore = wps.trial ? wps.trial->bandsBefore : wps.bands;
    const int result = timeout < 0 ? kFailure : setWPSConfig(deviceType, sendSearch, sendResponse);
    if (result == kOk && timeout > 0) {
        wps.trial = Trial{before, bandsBefore, Clock::now() + std::chrono::seconds(timeout)};
    }
    return result;
}

int getChangetomeout_flag() {
    return wps.trial.has_value() ? 1 : 0;
}

int check_ChangeDeviceMode_timeout() {
    if (!wps.trial || Clock::now() < wps.trial->until) return kOk;
    LOG_LINE(2, "the new device mode was not confirmed in time; the former one is restored");
    change(wps.config, wps.trial->before);
    for (size_t i = 0; i < wps.bands.size(); i++) {
        change(wps.bands[i].config, wps.trial->bandsBefore[i].config);
    }
    wps.trial.reset();
    return kOk;
}

int setWPSConfByBand(const char* band, int32_t sendSearch, int32_t sendResponse) {
    if (band == nullptr) return kFailure;
    const WpsBandConfig config{low8(sendSearch), low8(sendResponse)};
    if (strcmp(band, "All") == 0) {
        for (Band& each : wps.bands) change(each.config, config);
        return kOk;
    }
    const auto code = parseNumber(band);
    Band* found = code ? bandOf(*code) : nullptr;
    if (found == nullptr) return kFailure;
    change(found->config, config);
    return kOk;
}

int getWPSConfByBand(uint8_t band, WpsBandConfig* config) {
    const Band* found = bandOf(band);
    if (found == nullptr || config == nullptr) return kFailure;
    *config = found->config;
    return kOk;
}

int setWiFiReloadFlag(int32_t deviceType, int32_t reload) {
    if (deviceType != PLATFORM_REGISTRAR && deviceType != PLATFORM_ENROLLEE) return kFailure;
    change(wps.reload, low8(reload));
    return kOk;
}

int getWiFiReload(uint8_t* reload) {
    if (reload == nullptr) return kFailure;
    *reload = wps.reload;
    return kOk;
}

int setAPautoconfig(uint8_t setting) {
    change(wps.autoconfig, setting);
    return kOk;
}

int getAPautoconfig(uint8_t* setting) {
    if (setting == nullptr) return kFailure;
    *setting = wps.autoconfig;
    return kOk;
}

// The Wi-Fi sync list holds the devices that a renew still waits for. It is always empty here: the
// daemon keeps the acknowledgements (getUnsyncedEnrollees).
int getWPSSyncListByMac(WpsSyncRecord*) {
    return kFailure;
}

int getWPSSyncListByBand(WpsSyncRecord* record) {
    if (record == nullptr || record->selector > 1) return kFailure;
    *record = {record->selector, {}, {}};
    return kOk;
}

int setAPautoconfigFlag(const uint8_t* alMac, uint8_t band) {
    if (wps.renewUntil) {
        if (const WifiBand* known = wifiBandOf(band)) {
            noteExchange(MacAddr(alMac), known, WifiExchange::kAcknowledged);
        }
        return kOk;
    }
    LOG_LINE(3, "%s acknowledged band %d, but no renew waits for it", macText(alMac).c_str(), band);
    return kFailure;
}

void noteRenew(uint8_t band) {
    wps.renewBands.insert(band);
    wps.renewAge = 0;
}

int reSendRenewbySynclist() {
    tickSecond();
    if (!wps.renewUntil || ++wps.renewAge % kRepeatPeriod != 0) return kOk;
    const auto until = wps.renewUntil;
    for (const uint8_t band : wps.renewBands) repeatRenew(band);
    // For each renew that is sent, the daemon calls start_and_stop_Renew.
    wps.renewUntil = until;
    return kOk;
}

int start_and_stop_Renew(int32_t start) {
    wps.renewUntil.reset();
    if (start != 0) {
        wps.renewUntil = Clock::now() + kRenewLimit;
    } else {
        wps.renewBands.clear();
    }
    return kOk;
}

int getSendRenew_flag() {
    return wps.renewUntil.has_value() ? 1 : 0;
}

int check_Renew_timeout() {
    if (wps.renewUntil && Clock::now() >= *wps.renewUntil) (void)start_and_stop_Renew(0);
    return kOk;
}

int wifi_flag_init() {
    return start_and_stop_Renew(0);
}

int setApproveFlag_flag(int32_t approve) {
    if (approve != 0 && approve != 1) return kFailure;
    wps.approveAll = approve == 1;
    return kOk;
}

int getApproveFlag(int32_t* approve) {
    if (approve == nullptr) return kFailure;
    *approve = wps.approveAll ? 1 : 0;
    return kOk;
}

// The host name is ignored because it is easily forged.
int checkMACisApprove(const uint8_t* alMac, const char* /*hostname*/) {
    if (alMac == nullptr) return kFailure;
    if (wps.approveAll || !conf().has("APPROVED")) return kOk;
    bool listed = false;
    forEachWord(conf().value("APPROVED"), [&](std::string_view word) {
        listed = listed || macFromText(word) == MacAddr(alMac);
    });
    if (!listed) {
        LOG_LINE(3, "device %s is not in APPROVED of platform.conf", macText(alMac).c_str());
    }
    return listed ? kOk : kFailure;
}
