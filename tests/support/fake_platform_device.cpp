// The scripted platform's actions, and the state that it tells of its device.
#include <algorithm>
#include <cstring>

#include "support/fake_platform_parts.h"

using namespace fake;

// Device actions.

ACTS(setIntfPwrStateByType, (uint32_t mediaType, uint32_t state), mediaType, state)
ACTS(setIntfPwrStateById, (const uint8_t* mac, uint32_t mediaType, uint32_t state), mac, mediaType,
     state)
ACTS(resetToDefault, ())
ACTS(setLEDvalue, (uint8_t ledOption), ledOption)
ACTS(setSystemvalue, (uint8_t systemOption), systemOption)
ACTS(setNetworkCtrl, (uint16_t networkOption, const char* command), networkOption, command)
int setWIFICountryCode(const char* countryCode) {
    const int result = act("setWIFICountryCode", countryCode);
    if (result == kOk) fakePlatform().wifiCountryCode = countryCode;
    return result;
}

ACTS(FWCtrl, (const FwCtrl* ctrl), ctrl->fwOption, ctrl->fwTopoOption, ctrl->url, ctrl->fileName)
int getfirmwareStatus(int32_t, int32_t, uint32_t* status) {
    if (const int result = resultOf("getfirmwareStatus")) return result;
    *status = fakePlatform().fwStatus;
    return kOk;
}
ACTS(setFWState, (const char* state), state)
ACTS(setFWresult, (int32_t value), value)
ANSWERS_TEXT(getNewFWversion, PLATFORM_FW_TEXT_LEN, newFwVersion)
ANSWERS_TEXT(getNewFWdate, PLATFORM_FW_TEXT_LEN, newFwDate)
int getNewFWVersionByPlatform(const char*, const char*, char version[PLATFORM_FW_TEXT_LEN]) {
    return fillText("getNewFWVersionByPlatform", version, PLATFORM_FW_TEXT_LEN,
                    fakePlatform().newFwVersion);
}
int getDownloanURL(const char*, const char*, char url[PLATFORM_FW_URL_LEN],
                   char fileName[PLATFORM_FW_FILE_NAME_LEN]) {
    const FakePlatform& p = fakePlatform();
    if (const int result = fillText("getDownloanURL", url, PLATFORM_FW_URL_LEN, p.fwUrl)) {
        return result;
    }
    return fillText("getDownloanURL", fileName, PLATFORM_FW_FILE_NAME_LEN, p.fwFileName);
}
ACTS(checkLocalFW, ())
ACTS(set_vsftpd_StartStop, (int32_t start), start)

int getWIFIConfig(WifiStationList* list) {
    if (const int result = resultOf("getWIFIConfig")) return result;
    list->count = static_cast<uint16_t>(fakePlatform().stations.size());
    list->head = nullptr;
    WifiStation** tail = &list->head;
    for (const auto& station : fakePlatform().stations) {
        WifiStation* added = append(tail);
        *added = station;
        added->next = nullptr;
    }
    return kOk;
}

ANSWERS_TEXT(getWIFIStateSync, PLATFORM_SYNC_DATA_LEN, wifiStateSync)
ANSWERS_TEXT(getWIFIChannelSync, PLATFORM_SYNC_DATA_LEN, wifiChannelSync)
ACTS(parseWIFIStateSyncdata, (const uint8_t* alMac, const char* data), alMac, data)
ACTS(parseWIFIChannelSyncData, (const uint8_t* alMac, const char* data), alMac, data)
ACTS(setWIFIStateSyncList, (const uint8_t* alMac, const char* result), alMac, result)
ACTS(setWIFIChannelSyncList, (const uint8_t* alMac, const char* result), alMac, result)

ANSWERS_TEXT(getExtenderConfig, PLATFORM_SYNC_DATA_LEN, extenderConfig)
ACTS(setExtenderConfig, (const uint8_t* alMac, const char* data), alMac, data)

ACTS(SecurityCtrl_parseM1, (const uint8_t* alMac, uint16_t len, const uint8_t* data), alMac,
     print({data, data + len}))
ACTS(SecurityCtrl_parseM2, (const uint8_t* alMac, uint16_t len, const uint8_t* data), alMac,
     print({data, data + len}))
ACTS(SecurityCtrl_cleanDataToList, ())

int setSpeedTestStartStop(const SpeedTestCtrl* ctrl) {
    const int result = act("setSpeedTestStartStop", ctrl->enable, ctrl->action, ctrl->url,
                           ctrl->startTime, ctrl->runtime, MacAddr(ctrl->lanMac));
    if (result == kOk) fakePlatform().speedTestRunning = ctrl->enable == 1;
    return result;
}
ANSWERS_TEXT(getSpeedTestData, PLATFORM_SYNC_DATA_LEN, speedTestData)
ACTS(outputSpeedTestData, (const uint8_t* alMac, const char* data), alMac, data)
int initSpeedTestData() {
    fakePlatform().speedTestRunning = false;
    return act("initSpeedTestData");
}
int getSpeedTestState() {
    return fakePlatform().speedTestRunning ? kOk : kFailure;
}
int setSpeedTestState(int32_t running) {
    fakePlatform().speedTestRunning = running == 1;
    return act("setSpeedTestState", running);
}
int getSpeedTestTimeout() {
    return fakePlatform().speedTestTimeout;
}
int getSpeedTestSendCtrlflag() {
    return fakePlatform().speedTestCtrlFlag;
}
int setSpeedTestSendCtrlflag(int32_t flag) {
    fakePlatform().speedTestCtrlFlag = flag;
    return act("setSpeedTestSendCtrlflag", flag);
}

int getResponseLogFile(const uint8_t* alMac, LogFileRef* file) {
    if (const int result = act("getResponseLogFile", MacAddr(alMac))) return result;
    snprintf(file->fileName, sizeof file->fileName, "%s", fakePlatform().logFileName.c_str());
    snprintf(file->ftpUrl, sizeof file->ftpUrl, "%s", fakePlatform().logFtpUrl.c_str());
    return kOk;
}
ACTS(DownloadLogFile, (const char* fileName, const char* ftpUrl), fileName, ftpUrl)
ACTS(getAckDownloadLogFile, (const uint8_t* alMac, int32_t result), alMac, result)

ACTS(setAPSteering, (int32_t option), option)
ACTS(sendBcnRptReq, (const BcnRptReq* req), req->staMac, req->bssid, req->operatingClass,
     req->channel, req->mode, req->duration, req->ssid)
int getBcnRptReq(BcnRpt* report) {
    if (const int result = resultOf("getBcnRptReq")) return result;
    const auto it = fakePlatform().beaconReports.find(MacAddr(report->staMac));
    if (it == fakePlatform().beaconReports.end()) return kFailure;
    const size_t size = std::min<size_t>(it->second.size(), PLATFORM_BCN_RPT_LEN);
    report->len = static_cast<uint16_t>(size);
    std::memcpy(report->data, it->second.data(), size);
    return kOk;
}
ACTS(sendBTMReq, (const BtmReq* req), req->staMac, req->bssid, req->operatingClass, req->channel,
     req->disassocImminent, req->disassocTimer)
ACTS(addToBlacklist, (const uint8_t* staMac), staMac)
ACTS(delFromBlacklist, (const uint8_t* staMac), staMac)

// State.

ANSWERS_TEXT(getDeviceIP, 32, deviceIP)
ANSWERS_TEXT(getDeviceUptime, 32, deviceUptime)
ANSWERS_TEXT(getDaisychainOption, 32, daisychainOption)
ANSWERS_TEXT(getCountryCode, 16, countryCode)
ANSWERS_TEXT(getWIFICountryCode, 16, wifiCountryCode)
ANSWERS_TEXT(getEthernetPortState, 128, ethernetPortState)
ANSWERS_TEXT(getBackhaulType, 32, backhaulType)
ANSWERS(getIPv6Info, IPv6Info, ipv6)
ANSWERS(getLEDState, LedState, led)
ANSWERS(getSecurityState, SecurityState, securityState)
ANSWERS(getNetworkState, NetworkState, networkState)
ANSWERS(getWIFIChannelInfo, WifiChannels, wifiChannels)
ANSWERS(getAPautoconfigTimes, AutoConfTimes, apAutoconfigTimes)

int getConfigureState(uint8_t* configure) {
    if (fakePlatform().configure == 0) return kFailure;
    return fill("getConfigureState", configure, fakePlatform().configure);
}
