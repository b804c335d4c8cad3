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

struct Kind {
    const char* name;
    VendMsgType renew;
    int (*get)(char* data);
};
constexpr Kind kKinds[kWifiSyncNum] = {
    {"Wi-Fi state", VEND_MSG_TYPE_WIFISTATERENEW, getWIFIStateSync},
    {"Wi-Fi channels", VEND_MSG_TYPE_WIFICHANNELRENEW, getWIFIChannelSync},
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
    if (standing.acknowledged) return;
    if (standing.sent > limit && now() - standing.time < kLongPause) return;
    if (standing.sent == limit)
        LOG(2, "%s: no acknowledgement from (" MAC_FMT "), one attempt an hour from now on\n",
            kind.name, MAC_ARGS(almac));
    standing.sent++;
    standing.time = now();
    (void)sendVendMsg(almac, kind.renew, TextPayload{*getAlMac(), text}, &standing.msgId);
}

int check(WifiSyncKind which) {
    const Kind& kind = kKinds[which];
    const AlTable* al = getAlTable();
    const TopolTable* topol = getNetTopolTable();
    if (al == nullptr || topol == nullptr || al->role() != PLATFORM_REGISTRAR) return kFailure;
    std::string text;
    if (fetchSyncText(kind.get, text) != 0 || text.empty()) return kFailure;
    WifiSync& sync = syncOf(which, text);
    // A device that comes back after it was lost gets the text again.
    std::erase_if(sync.devices,
                  [](const auto& it) { return getIeee1905DevTableById(it.first) == nullptr; });
    for (const auto& dev : topol->devs) {
        if (isWanted(dev)) handOut(kind, dev.alMac, sync.text, sync.devices[dev.alMac]);
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

bool noteWifiSyncAck(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId,
                     std::string_view result) {
    auto& devices = syncs().at(kind).devices;
    const auto it = devices.find(almac);
    // An answer to an earlier message says nothing about the current text.
    if (it == devices.end() || it->second.msgId != msgId) return true;
    const bool success = result == "success";
    if (!success) LOG(2, "%s: refused by (" MAC_FMT ")\n", kKinds[kind].name, MAC_ARGS(almac));
    if (it->second.acknowledged) return success;
    it->second.acknowledged = success;
    return true;
}

void forgetWifiSync(const MacAddr& almac) {
    for (WifiSync& sync : syncs()) sync.devices.erase(almac);
    Ieee1905DevTable* dev = getIeee1905DevTableById(almac);
    if (dev == nullptr) return;
    dev->apAutoConf.syncFlags = {};
    requestUpdateDataModel(0);
}
