#include "controller/device_settings.h"

#include "controller/own_record.h"
#include "platform/autoconfig.h"
#include "platform/state.h"

namespace {

bool storeTimes(AlTable& al, const AutoConfTimes& times) {
    static_assert(PLATFORM_AUTOCONF_TIMES == kApAutoConfTimes);
    bool changed = false;
    for (size_t i = 0; i < kApAutoConfTimes; i++) {
        changed |= storeText(al.apAutoConfTimes[i], fieldText(times.time[i]));
    }
    return changed;
}

}  // namespace

int checkDeviceSettings() {
    const int results[] = {
        refreshOwnText(getDaisychainOption, &DeviceInfo::daisychainOption),
        refreshOwnText(getCountryCode, &DeviceInfo::countryCode),
        refreshOwnText(getBackhaulType, &DeviceInfo::backhaulType),
        refreshOwnRecord(
            getConfigureState,
            [](AlTable& al, uint8_t configure) { return store(al.info.configure, configure); }),
        refreshOwnRecord(
            getApproveFlag,
            [](AlTable& al, int32_t approve) { return store(al.approveFlag, approve); }),
        refreshOwnRecord(getAPautoconfigTimes, storeTimes),
    };
    const bool all = std::all_of(std::begin(results), std::end(results),
                                 [](int result) { return result == kOk; });
    return all ? kOk : kFailure;
}
