#include "controller/own_checks.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/store.h"
#include "base/text.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "platform/autoconfig.h"
#include "platform/device.h"
#include "platform/state.h"

namespace {

// Reads the platform's answer by get, which returns 0 on success, and stores it by
// apply(AlTable&, answer), which returns true if it changed the record.
template <typename Answer, typename Apply>
int refresh(int (*get)(Answer*), Apply&& apply) {
    AlTable* al = getAlTable();
    Answer answer{};
    if (al == nullptr || get(&answer) != 0) return kFailure;
    return apply(*al, answer) ? requestUpdateDataModel(0) : kOk;
}

// A text of the own record, and the member of the platform's answer that it is read from.
template <typename Answer, size_t N, size_t M>
struct TextRow {
    Text<N> DeviceInfo::*field;
    char (Answer::*source)[M];
};
// Clang before 17 needs this guide for an aggregate.
template <typename Answer, size_t N, size_t M>
TextRow(Text<N> DeviceInfo::*, char (Answer::*)[M]) -> TextRow<Answer, N, M>;

template <size_t N>
bool storeText(Text<N>& field, std::string_view text) {
    return store(field, Text<N>(plainText(text, N - 1)));
}

// The same for answers that consist of texts.
template <typename Answer, size_t N, size_t M, typename... More>
int refreshTexts(int (*get)(Answer*), TextRow<Answer, N, M> row, More... more) {
    return refresh(get, [&](AlTable& al, const Answer& answer) {
        bool changed = storeText(al.info.*row.field, fieldText(answer.*row.source));
        ((changed |= storeText(al.info.*more.field, fieldText(answer.*more.source))), ...);
        return changed;
    });
}

// The same for an answer that is one text, as long as the field.
template <size_t N>
int refreshText(int (*get)(char*), Text<N> DeviceInfo::*field) {
    AlTable* al = getAlTable();
    char text[N] = {};
    if (al == nullptr || get(text) != 0) return kFailure;
    return storeText(al->info.*field, fieldText(text)) ? requestUpdateDataModel(0) : kOk;
}

bool storeTimes(AlTable& al, const AutoConfTimes& times) {
    static_assert(PLATFORM_AUTOCONF_TIMES == kApAutoConfTimes);
    bool changed = false;
    for (size_t i = 0; i < kApAutoConfTimes; i++) {
        changed |= storeText(al.apAutoConfTimes[i], fieldText(times.time[i]));
    }
    return changed;
}

bool storeAddresses(AlTable& al, const IPv6Info& info) {
    std::vector<std::string> addresses;
    for (size_t i = 0; i < std::min<size_t>(info.num, PLATFORM_IPV6_MAX); i++) {
        addresses.push_back(plainText(fieldText(info.address[i])));
    }
    return store(al.info.ipv6, addresses);
}

bool storeNetwork(AlTable& al, const NetworkState& network) {
    const bool dnsmasq = store(al.info.netStateDnsmasq, network.dnsmasq);
    const bool intfs = store(al.info.netStateIntfInBridge, network.intfInBridge);
    return dnsmasq || intfs;
}

}  // namespace

int checkWIFIChannelInfo() {
    return refreshTexts(getWIFIChannelInfo,
                        TextRow{&DeviceInfo::wifi24GChannel, &WifiChannels::band24},
                        TextRow{&DeviceInfo::wifi5GChannel, &WifiChannels::band5},
                        TextRow{&DeviceInfo::wifi5G2Channel, &WifiChannels::band5High});
}

int checkLEDstate() {
    return refreshTexts(getLEDState, TextRow{&DeviceInfo::ledStatus, &LedState::status},
                        TextRow{&DeviceInfo::ledBrightness, &LedState::brightness});
}

int checkSecurityStatet() {
    return refreshTexts(getSecurityState, TextRow{&DeviceInfo::sshState, &SecurityState::ssh},
                        TextRow{&DeviceInfo::telnetState, &SecurityState::telnet});
}

int updateNetworkState() {
    return refresh(getNetworkState, storeNetwork);
}

int checkIPv6Info() {
    return refresh(getIPv6Info, storeAddresses);
}

int checkWIFICountryCode() {
    return refreshText(getWIFICountryCode, &DeviceInfo::wifiCountryCode);
}

int checkEthernetPortState() {
    AlTable* al = getAlTable();
    decltype(DeviceInfo::ethernetPortState) state;
    if (al == nullptr || getEthernetPortState(state.data()) != 0) return kFailure;
    state.terminate();
    // The text is copied into the data model unchanged, so it must be valid JSON.
    if (!isJsonItems(state)) return kFailure;
    return store(al->info.ethernetPortState, state) ? requestUpdateDataModel(0) : kOk;
}

int checkDeviceSettings() {
    const int results[] = {
        refreshText(getDaisychainOption, &DeviceInfo::daisychainOption),
        refreshText(getCountryCode, &DeviceInfo::countryCode),
        refreshText(getBackhaulType, &DeviceInfo::backhaulType),
        refresh(getConfigureState,
                [](AlTable& al, uint8_t configure) { return store(al.info.configure, configure); }),
        refresh(getApproveFlag,
                [](AlTable& al, int32_t approve) { return store(al.approveFlag, approve); }),
        refresh(getAPautoconfigTimes, storeTimes),
    };
    const bool all = std::ranges::all_of(results, [](int result) { return result == kOk; });
    return all ? kOk : kFailure;
}

int checkLocalFWExist() {
    if (checkLocalFW() != 0) return kFailure;
    LOG_PUTS(3, "a local firmware file is taken up");
    return kOk;
}
