#include "orders/wifi_sync.h"

#include <string>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "net/vend_sender.h"
#include "orders/schedule.h"
#include "platform/autoconfig.h"
#include "platform/device.h"
#include "wire/sync_text.h"
#include "wire/vend_payloads.h"

namespace {

constexpr Seconds kLongPause = 3600;

auto& syncs() {
    return stateOf<WifiSyncState>().syncs;
}

int readStateText(std::string& text) {
    return fetchSyncText(getWIFIStateSync, text);
}

int readChannelText(std::string& text) {
    return fetchSyncText(getWIFIChannelSync, text);
}

int readCountryCode(std::string& text) {
    text = getAlTable()->info.wifiCountryCode.view();
    return kOk;
}

VendPayload textFor(const MacAddr& /*almac*/, const std::string& text) {
    return TextPayload{*getAlMac(), text};
}

VendPayload countryCodeFor(const MacAddr& almac, const std::string& text) {
    return CountryCodeReq{almac, text};
}

bool hasCountryCode(const Ieee1905DevTable& dev, const std::string& text) {
    return dev.info.wifiCountryCode == std::string_view(text);
}

struct Kind {
    const char* name;
    VendMsgType order;
    int (*read)(std::string& text);
    VendPayload (*payload)(const MacAddr& almac, const std::string& text);
    bool (*isReported)(const Ieee1905DevTable& dev, const std::string& text);  // or nullptr
};
constexpr Kind kKinds[kWifiSyncNum] = {
    {"Wi-Fi state", VEND_MSG_TYPE_WIFISTATERENEW, readStateText, textFor, nullptr},
    {"Wi-Fi channels", VEND_MSG_TYPE_WIFICHANNELRENEW, readChannelText, textFor, nullptr},
    {"country code", VEND_MSG_TYPE_WIFICOUNTRYCODE_REQ, readCountryCode, countryCodeFor,
     hasCountryCode},
};

// A new text must reach every device again.
WifiSync& syncOf(WifiSyncKind kind, std::string_view text) {
    WifiSync& sync = syncs().at(kind);
    if (sync.text != text) sync = {std::string(text), {}};
    return sync;
}

bool isWanted(const Ieee1905DevTable& dev) {
    return dev.role == PLATFORM_ENROLLEE &&
           checkMACisApprove(dev.alMac.data(), dev.hostname.c_str()) == 0;
}

void handOut(const Kind& kind, const MacAddr& almac, const std::string& text,
             WifiSyncStanding& standing) {
    const int limit = scheduleSettings().WIFISync_LoopCount;
    // Only a setting that the device reports shows if it was lost again.
    if (standing.acknowledged && kind.isReported == nullptr) return;
    const bool pauses = standing.acknowledged || standing.sent > limit;
    if (pauses && now() - standing.time < kLongPause) return;
    if (standing.sent == limit)
        LOG(2, "%s: no acknowledgement from (" MAC_FMT "), one attempt an hour from now on\n",
            kind.name, MAC_ARGS(almac));
    standing.sent++;
    standing.time = now();
    standing.acknowledged = false;
    (void)sendVendMsg(almac, kind.order, kind.payload(almac, text), &standing.msgId);
}

int check(WifiSyncKind which) {
    const Kind& kind = kKinds[which];
    const AlTable* al = getAlTable();
    const TopolTable* topol = getNetTopolTable();
    if (al == nullptr || topol == nullptr || al->role() != PLATFORM_REGISTRAR) return kFailure;
    std::string text;
    if (kind.read(text) != 0 || text.empty()) return kFailure;
    WifiSync& sync = syncOf(which, text);
    // A device that comes back after it was lost gets the text again.
    std::erase_if(sync.devices,
                  [](const auto& it) { return getIeee1905DevTableById(it.first) == nullptr; });
    for (const auto& dev : topol->devs) {
        if (!isWanted(dev)) continue;
        if (kind.isReported != nullptr && kind.isReported(dev, text)) {
            sync.devices.erase(dev.alMac);
        } else {
            handOut(kind, dev.alMac, text, sync.devices[dev.alMac]);
        }
    }
    return kOk;
}

}  // namespace

int checkWIFIStateSync() {
    return check(kWifiStateSync);
}

int checkWIFIChannelSync() {
    return check(kWifiChannelSync);
}

int checkWIFICountryCodeSync() {
    return check(kCountryCodeSync);
}

void noteWifiSyncSent(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId,
                      std::string_view text) {
    WifiSync& sync = syncOf(kind, text);
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return;
    for (const auto& dev : topol->devs) {
        if (almac.isZero() ? dev.role == PLATFORM_ENROLLEE : dev.alMac == almac)
            sync.devices[dev.alMac] = {msgId, 1, false, now()};
    }
}

bool noteWifiSyncAck(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId, bool success) {
    auto& devices = syncs().at(kind).devices;
    const auto it = devices.find(almac);
    // An answer to an earlier message says nothing about the current text.
    if (it == devices.end() || it->second.msgId != msgId) return true;
    if (it->second.acknowledged) return success;
    if (!success) LOG(2, "%s: refused by (" MAC_FMT ")\n", kKinds[kind].name, MAC_ARGS(almac));
    it->second.acknowledged = success;
    return true;
}

void forgetWifiSync(const MacAddr& almac) {
    for (WifiSync& sync : syncs()) sync.devices.erase(almac);
}
