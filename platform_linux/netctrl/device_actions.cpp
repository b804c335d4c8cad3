// Actions that only the product can carry out. Each is a hook, without which hostapd carries out
// some; docs/platform.md lists their arguments and results.
#include <algorithm>
#include <string>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "hostapd/orders.h"
#include "hostapd/wanted.h"
#include "netctrl/notices.h"
#include "netctrl/state.h"

namespace {

// A setting of all radios of hostapd, for those of an Enrollee.
int textOfRadios(const char* hook, std::string (*valueOf)(const RadioReport&), char* data) {
    if (!doesHostapd(hook)) return askIfThere(hook, {}, data, PLATFORM_SYNC_DATA_LEN);
    std::string text;
    for (const RadioReport& radio : hostapdRadios()) {
        text += (text.empty() ? "" : " ") + radio.band + "=" + valueOf(radio);
    }
    return text.empty() ? kFailure : answerText(data, PLATFORM_SYNC_DATA_LEN, text);
}

// A hook may send other texts, which are those of a product.
int takeText(const char* hook, bool isOurs, int (*order)(const std::string& text),
             const uint8_t* alMac, const char* text) {
    if (isOurs && doesHostapd(hook)) return order(text);
    return runHook(hook, {macText(alMac), orEmpty(text)});
}

int takeResult(const char* hook, const uint8_t* alMac, const char* result) {
    if (!doesHostapd(hook)) return runHook(hook, {macText(alMac), orEmpty(result)});
    LOG_LINE(3, "%s of %s: %s", hook, macText(alMac).c_str(), plainText(orEmpty(result)).c_str());
    return kOk;
}

}  // namespace

int resetToDefault() {
    return runHook("reset-to-default");
}

int setLEDvalue(uint8_t ledOption) {
    return runHook("led", {std::to_string(ledOption)}, [](int result, const std::string& output) {
        if (result != 0 || trim(output).empty()) return;
        const std::string_view status = lineOf(output, 0);
        keepLedState(status, lineOf(output, 1));
        if (!status.empty()) noteLedStatus(std::string(status));
    });
}

int setSystemvalue(uint8_t systemOption) {
    return runHook("system", {std::to_string(systemOption)});
}

int setNetworkCtrl(uint16_t networkOption, const char* command) {
    return runHook("network", {std::to_string(networkOption), orEmpty(command)});
}

int setWIFICountryCode(const char* countryCode) {
    const std::string code = orEmpty(countryCode);
    if (doesHostapd("wifi-country-code")) {
        return orderCountry(code, [code] { keepWifiCountryCode(code); });
    }
    return runHook("wifi-country-code", {code}, [code](int result, const std::string&) {
        if (result == 0) keepWifiCountryCode(code);
    });
}

int getNewFWversion(char text[PLATFORM_FW_TEXT_LEN]) {
    return askForText("new-firmware-version", {}, text, PLATFORM_FW_TEXT_LEN);
}

int getNewFWdate(char text[PLATFORM_FW_TEXT_LEN]) {
    return askForText("new-firmware-date", {}, text, PLATFORM_FW_TEXT_LEN);
}

int getWIFIStateSync(char data[PLATFORM_SYNC_DATA_LEN]) {
    return textOfRadios(
        "wifi-state-get",
        [](const RadioReport& radio) { return std::string(radio.isOn ? "on" : "off"); }, data);
}

int getWIFIChannelSync(char data[PLATFORM_SYNC_DATA_LEN]) {
    // 0 for a radio that is off: the others leave theirs as it is.
    return textOfRadios(
        "wifi-channel-get",
        [](const RadioReport& radio) { return std::to_string(radio.isOn ? radio.channel : 0); },
        data);
}

int parseWIFIStateSyncdata(const uint8_t* alMac, const char* data) {
    return takeText("wifi-state-set", isStateText(orEmpty(data)), orderRadioState, alMac, data);
}

int parseWIFIChannelSyncData(const uint8_t* alMac, const char* data) {
    return takeText("wifi-channel-set", isChannelText(orEmpty(data)), orderChannels, alMac, data);
}

int getExtenderConfig(char data[PLATFORM_SYNC_DATA_LEN]) {
    return askIfThere("extender-config-get", {}, data, PLATFORM_SYNC_DATA_LEN);
}

int setExtenderConfig(const uint8_t* alMac, const char* data) {
    return runHook("extender-config", {macText(alMac), orEmpty(data)});
}

int setWIFIStateSyncList(const uint8_t* alMac, const char* result) {
    return takeResult("wifi-state-result", alMac, result);
}

int setWIFIChannelSyncList(const uint8_t* alMac, const char* result) {
    return takeResult("wifi-channel-result", alMac, result);
}

int getResponseLogFile(const uint8_t* alMac, LogFileRef* file) {
    if (file == nullptr) return kFailure;
    std::string output;
    const int result = askHook("log-file-publish", {macText(alMac)}, output);
    if (result != 0) output.clear();
    copyText(file->fileName, lineOf(output, 0));
    copyText(file->ftpUrl, lineOf(output, 1));
    return result == 0 && file->fileName[0] == '\0' ? kFailure : result;
}

int DownloadLogFile(const char* fileName, const char* ftpUrl) {
    return DownloadLogFileAs(fileName, ftpUrl, "");
}

// The name and the URL come from the network.
int DownloadLogFileAs(const char* fileName, const char* ftpUrl, const char* target) {
    if (!isPlainName(orEmpty(fileName)) || orEmpty(ftpUrl)[0] == '-') return kFailure;
    return runHook("log-file-fetch", {orEmpty(fileName), orEmpty(ftpUrl), orEmpty(target)});
}

int getAckDownloadLogFile(const uint8_t* alMac, int32_t result) {
    return runHook("log-file-fetched", {macText(alMac), std::to_string(result)});
}

int setAPSteering(int32_t option) {
    return runHook("ap-steering", {std::to_string(option)});
}

int sendBcnRptReq(const BcnRptReq* req) {
    if (req == nullptr) return kFailure;
    return runHook("beacon-report-request",
                   {macText(req->staMac), macText(req->bssid), std::to_string(req->operatingClass),
                    std::to_string(req->channel), std::to_string(req->mode),
                    std::to_string(req->duration), std::string(fieldText(req->ssid))});
}

int getBcnRptReq(BcnRpt* report) {
    if (report == nullptr) return kFailure;
    report->len = 0;
    std::string output;
    const int result = askHook("beacon-report-get", {macText(report->staMac)}, output);
    if (result != 0) return result;
    const auto bytes = parseHex(output);
    if (!bytes || bytes->size() > sizeof report->data) return kFailure;
    std::copy(bytes->begin(), bytes->end(), report->data);
    report->len = static_cast<uint16_t>(bytes->size());
    return kOk;
}

int sendBTMReq(const BtmReq* req) {
    if (req == nullptr) return kFailure;
    if (doesHostapd("btm-request")) return orderTransition(*req);
    return runHook("btm-request",
                   {macText(req->staMac), macText(req->bssid), std::to_string(req->operatingClass),
                    std::to_string(req->channel), std::to_string(req->disassocImminent),
                    std::to_string(req->disassocTimer)});
}

int addToBlacklist(const uint8_t* staMac) {
    if (doesHostapd("blacklist-add")) return orderBar(MacAddr(staMac), true);
    return runHook("blacklist-add", {macText(staMac)});
}

int delFromBlacklist(const uint8_t* staMac) {
    if (doesHostapd("blacklist-remove")) return orderBar(MacAddr(staMac), false);
    return runHook("blacklist-remove", {macText(staMac)});
}
