#include "handlers/wifi_handlers.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string>

#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/wifi_bands.h"
#include "db/wifi_clients.h"
#include "handlers/answer_memory.h"
#include "handlers/control_request.h"
#include "handlers/order_permission.h"
#include "handlers/result_file.h"
#include "orders/answer_writers.h"
#include "orders/wifi_sync.h"
#include "platform/autoconfig.h"
#include "platform/device.h"
#include "wire/sync_text.h"
#include "wire/vend_payloads.h"

namespace {

constexpr size_t kMaxStateEntries = 100;  // more do not fit into a message
constexpr uint8_t kWpsAutoConfig = 0x01;
constexpr uint8_t kWpsSendSearch = 0x02;
constexpr uint8_t kWpsSendResponse = 0x04;

// Answers with a text of this device: its own setting, or the result of taking over a setting.
int answerText(const VendContext& context, VendMsgType type, std::string_view text) {
    return sendAnswer(context, type, TextPayload{*getAlMac(), std::string(text)});
}

// Answers a search with this device's setting, and notes that the sender has it.
int answerSearch(const VendContext& context, VendMsgType type, WifiSyncKind kind,
                 const std::string& text) {
    noteWifiSyncSent(kind, context.msg.alMac, context.msgId, text);
    return answerText(context, type, text);
}

// Takes over the result that a device answers to a synchronization.
int takeResult(const VendContext& context, const TextPayload& answer, WifiSyncKind kind,
               int (*setSyncList)(const uint8_t*, const char*), const char* name) {
    const MacAddr& sender = context.msg.alMac;
    if (!noteWifiSyncAck(kind, sender, context.msgId, answer.data == "success")) return kOk;
    (void)setSyncList(sender.data(), answer.data.c_str());
    return writeResultFile(name, sender, answer.data);
}

}  // namespace

int handleWIFIStateQueryMsg(const VendContext& context, const AlMacPayload& /*query*/) {
    WifiStationList list{};
    if (getWIFIConfig(&list) != 0) return kFailure;
    WifiStateResp answer;
    while (list.head != nullptr) {
        const std::unique_ptr<WifiStation, decltype(&free)> station(list.head, free);
        list.head = station->next;
        if (answer.entries.size() == kMaxStateEntries) continue;
        answer.entries.push_back({MacAddr(station->mac), static_cast<uint16_t>(station->mediaType),
                                  station->rate, station->rssi,
                                  static_cast<uint8_t>(station->signalLevel)});
    }
    return sendAnswer(context, VEND_MSG_TYPE_WIFI_STATE_RESP, std::move(answer));
}

int handleWIFIStateRespMsg(const VendContext& context, const WifiStateResp& answer) {
    const Ieee1905DevTable* dev = getIeee1905DevTableById(context.msg.alMac);
    if (dev == nullptr) return kOk;
    getIeee1905DevTables().editIf(*dev, [&](auto& changed) {
        for (const auto& entry : answer.entries) {
            WifiClient& client = touchWifiClient(changed, entry.mac);
            client.mediaType = entry.mediaType;
            client.rate = entry.rate;
            client.rssi = entry.rssi;
            client.signalLevel = entry.signalLevel;
        }
        return !answer.entries.empty();
    });
    dropSilentWifiClients(*dev);
    return requestUpdateDataModel(0);
}

int handleWIFIClientmcastMsg(const VendContext& context, const TextPayload& report) {
    Ieee1905DevTable* dev = editIeee1905DevTableById(context.msg.alMac);
    if (dev == nullptr) return kOk;
    const bool understood = storeWifiClients(*dev, report.data);
    dropSilentWifiClients(*dev);
    requestUpdateDataModel(0);
    return understood ? kOk : kFailure;
}

int handleWIFIStateSearchMsg(const VendContext& context, const AlMacPayload& /*search*/) {
    if (!isRegistrar()) return kFailure;
    if (!isApproved(context)) return kOk;
    std::string text;
    if (fetchSyncText(getWIFIStateSync, text) != 0) {
        LOG_PUTS(2, "get WIFIState Data error\r");
        return kFailure;
    }
    return answerSearch(context, VEND_MSG_TYPE_WIFISTATERENEW, kWifiStateSync, text);
}

int handleWIFIStateRenewMsg(const VendContext& context, const TextPayload& renew) {
    if (!isEnrollee()) return kFailure;
    const uint8_t* sender = context.msg.alMac.data();
    const char* result = resultText(parseWIFIStateSyncdata(sender, renew.data.c_str()));
    (void)setWIFIStateSyncList(sender, result);
    return answerText(context, VEND_MSG_TYPE_WIFISTATEACK, result);
}

int handleWIFIStateAckMsg(const VendContext& context, const TextPayload& answer) {
    return takeResult(context, answer, kWifiStateSync, setWIFIStateSyncList, "WIFIState");
}

int handleWIFIChannelSearchMsg(const VendContext& context, const AlMacPayload& /*search*/) {
    if (!isApproved(context)) return kOk;
    std::string text;
    if (fetchSyncText(getWIFIChannelSync, text) != 0) return kFailure;
    return answerSearch(context, VEND_MSG_TYPE_WIFICHANNELRENEW, kWifiChannelSync, text);
}

int handleWIFIChannelRenewMsg(const VendContext& context, const TextPayload& renew) {
    if (!isEnrollee()) return kFailure;
    const char* result =
        resultText(parseWIFIChannelSyncData(context.msg.alMac.data(), renew.data.c_str()));
    return answerText(context, VEND_MSG_TYPE_WIFICHANNELACK, result);
}

int handleWIFIChannelAckMsg(const VendContext& context, const TextPayload& answer) {
    return takeResult(context, answer, kWifiChannelSync, setWIFIChannelSyncList, "WIFIChannel");
}

int handleWIFICountryCodeCtrlReqMsg(const VendContext& context, const CountryCodeReq& request) {
    const auto& code = request.countryCode;
    LOG(4, "WIFICountryCode(%d) = %s\n", static_cast<int>(code.size()), plainText(code).c_str());
    return answerRequest(context, VEND_MSG_TYPE_WIFICOUNTRYCODE_RESP,
                         setWIFICountryCode(code.c_str()));
}

int handleWIFICountryCodeCtrlRespMsg(const VendContext& context, const RetCodePayload& answer) {
    LOG(4, "retCode = %d\n", answer.retCode);
    (void)noteWifiSyncAck(kCountryCodeSync, context.msg.alMac, context.msgId,
                          answer.retCode == kOk);
    return kOk;
}

int handleAPautoconfigAckMsg(const VendContext& context, const OptionPayload& answer) {
    const uint8_t band = answer.option;
    const int result = setAPautoconfigFlag(context.msg.alMac.data(), band);
    const auto index = bandIndex(band);
    Ieee1905DevTable* dev = editIeee1905DevTableById(context.msg.alMac);
    if (dev != nullptr && index) {
        dev->apAutoConf.syncFlags[*index] = 1;
        requestUpdateDataModel(0);
    }
    return result == 0 ? kOk : kFailure;
}

int handleWPSCrtlReqMsg(const VendContext& context, const OptionPayload& request) {
    const uint8_t option = request.option;
    WpsConfig config{};
    int retCode = getWPSConfig(&config);
    if (retCode == kOk) {
        retCode = setWPSConfig(config.deviceType, (option & kWpsSendSearch) != 0,
                               (option & kWpsSendResponse) != 0);
    }
    if (retCode == kOk) retCode = setAPautoconfig(option & kWpsAutoConfig);
    return answerRequest(context, VEND_MSG_TYPE_WPS_CTRL_RESP, retCode);
}

int handleWPSCrtlRespMsg(const VendContext& context, const RetCodePayload& answer) {
    return respWPSCrtlServReq(context.msgId, answer.retCode);
}
