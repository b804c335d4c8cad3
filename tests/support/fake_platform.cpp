#include "support/fake_platform.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "base/result.h"
#include "support/frames.h"

namespace {

// Allocates memory that the daemon releases with free().
uint8_t* mallocCopy(const Frame& bytes) {
    if (bytes.empty()) return nullptr;
    auto* copy = static_cast<uint8_t*>(malloc(bytes.size()));
    if (copy == nullptr) abort();
    std::memcpy(copy, bytes.data(), bytes.size());
    return copy;
}
uint8_t* mallocMacs(const std::vector<MacAddr>& macs) {
    Frame packed;
    for (const auto& mac : macs) packed.insert(packed.end(), mac.b.begin(), mac.b.end());
    return mallocCopy(packed);
}

// A linked list of records; fill sets a record from its item.
template <typename Record, typename Item, typename Fill>
Record* mallocList(const std::vector<Item>& items, const Fill& fill) {
    Record* head = nullptr;
    for (auto item = items.rbegin(); item != items.rend(); ++item) {
        auto* record = static_cast<Record*>(calloc(1, sizeof(Record)));
        if (record == nullptr) abort();
        fill(*record, *item);
        record->next = std::exchange(head, record);
    }
    return head;
}
constexpr auto kCopied = [](auto& record, const auto& item) { record = item; };

IntfDescList describe(const std::vector<FakeIntf>& intfs) {
    const auto fill = [](IntfDesc& desc, const FakeIntf& intf) {
        std::memcpy(desc.name, intf.name.data(), std::min<size_t>(intf.name.size(), 15));
        intf.mac.copyTo(desc.mac);
        desc.pwrState = intf.pwrState;
        desc.operStatus = PLATFORM_OPER_UP;
        desc.mediaType = intf.mediaType;
        desc.mediaInfoLen = static_cast<uint8_t>(intf.mediaInfo.size());
        desc.mediaInfo = mallocCopy(intf.mediaInfo);
        std::copy(intf.oui.begin(), intf.oui.end(), desc.oui);
        desc.vendInfoLen = static_cast<uint32_t>(intf.vendInfo.size());
        desc.vendInfo = mallocCopy(intf.vendInfo);
        desc.nbrNum = static_cast<uint16_t>(intf.nbrs.size());
        desc.nbrMacs = mallocMacs(intf.nbrs);
    };
    return {static_cast<uint8_t>(intfs.size()), mallocList<IntfDesc>(intfs, fill)};
}

BrdgDescList describeBridges(const std::vector<std::vector<MacAddr>>& tuples) {
    const auto fill = [](BrdgDesc& desc, const std::vector<MacAddr>& macs) {
        desc.macNum = static_cast<uint32_t>(macs.size());
        desc.macs = mallocMacs(macs);
    };
    return {static_cast<uint8_t>(tuples.size()), mallocList<BrdgDesc>(tuples, fill)};
}

std::string shown(const uint8_t* mac) {
    return macText(MacAddr(mac));
}
std::string shown(const std::string& text) {
    return text;
}
std::string shown(int64_t value) {
    return std::to_string(value);
}

int resultOf(const char* function) {
    const FakePlatform& p = fakePlatform();
    if (p.fail.contains(function)) return kFailure;
    const auto it = p.results.find(function);
    return it == p.results.end() ? kOk : it->second;
}

// Records an action and returns its scripted result.
template <typename... Args>
int act(const char* function, const Args&... args) {
    std::string call = function;
    ((call += ' ' + shown(args)), ...);
    fakePlatform().calls.push_back(std::move(call));
    if (fakePlatform().onAction) fakePlatform().onAction();
    return resultOf(function);
}

}  // namespace

// An action that is only recorded: its parameters, and those that are shown.
#define ACTS(function, parameters, ...)                   \
    int function parameters {                             \
        return act(#function __VA_OPT__(, ) __VA_ARGS__); \
    }

// Getters; p is the platform.
#define ANSWERS_TEXT(function, size, answer)                       \
    int function(char text[size]) {                                \
        [[maybe_unused]] const FakePlatform& p = fakePlatform();   \
        if (const int result = resultOf(#function)) return result; \
        snprintf(text, size, "%s", std::string(answer).c_str());   \
        return kOk;                                                \
    }
#define ANSWERS(function, type, ...)                               \
    int function(type* out) {                                      \
        [[maybe_unused]] const FakePlatform& p = fakePlatform();   \
        if (const int result = resultOf(#function)) return result; \
        *out = __VA_ARGS__;                                        \
        return kOk;                                                \
    }
#define RETURNS(function, answer)               \
    int function() {                            \
        const FakePlatform& p = fakePlatform(); \
        return answer;                          \
    }

FakeIntfDescs::FakeIntfDescs(const std::vector<FakeIntf>& intfs) : list_(describe(intfs)) {}

FakeIntfDescs::~FakeIntfDescs() {
    while (list_.head != nullptr) {
        IntfDesc* desc = std::exchange(list_.head, list_.head->next);
        for (void* part : {desc->mediaInfo, desc->vendInfo, desc->nbrMacs}) free(part);
        free(desc);
    }
}

// Lifecycle.

ACTS(initNetCtrl, ())
ACTS(startNetCtrl, ())
ACTS(runNetCtrl, ())
ACTS(setNetCtrlDebugLevel, (uint8_t level), level)
ACTS(outputlogData, (const char* line), line)

int setNetStatusEventCallbackFunc(NetStatusEventCallback callback) {
    fakePlatform().netStatusCallback = callback;
    return kOk;
}
int setServReqCallbackFunc(ServReqCallback callback) {
    fakePlatform().servReqCallback = callback;
    return kOk;
}

// Descriptions.

int getAlDesc(AlDesc* desc) {
    *desc = {};
    fakePlatform().alMac.copyTo(desc->alMac);
    return kOk;
}
ANSWERS(getIntfDesc, IntfDescList, describe(p.intfs))
ANSWERS(getIntfmatchNum, uint8_t, static_cast<uint8_t>(p.intfs.size()))
ANSWERS(getBrdgCapability, BrdgDescList, describeBridges(p.brdgTuples))
ANSWERS(getSecurityConfig, SecurityDesc,
        {p.securityMode, static_cast<uint16_t>(p.security.size()), mallocCopy(p.security)})

int getLinkMetricList(const uint8_t* intfMac, uint32_t mediaType, LinkDescList* list) {
    fakePlatform().linkMetricCalls++;
    if (const int result = resultOf("getLinkMetricList")) return result;
    for (const auto& intf : fakePlatform().intfs) {
        if (intf.mac != MacAddr(intfMac) || intf.mediaType != mediaType) continue;
        const auto num = static_cast<uint16_t>(intf.links.size());
        *list = {num, mallocList<LinkDesc>(intf.links, kCopied)};
        return kOk;
    }
    return kFailure;
}

int getDeviceSendMsgEnable(const char* intfName) {
    return fakePlatform().excludedIntfs.contains(intfName);
}

ANSWERS_TEXT(getFirmwareVersion, 128, "1.0.0")
ANSWERS_TEXT(getHostname, 128, p.hostname)
ANSWERS_TEXT(getBuildNumber, 32, "42")
ANSWERS_TEXT(getDeviceMode, 32, "router")
int getDeviceLANMac(uint8_t mac[PLATFORM_MAC_LEN]) {
    MacAddr(0x02, 0x19, 0x05, 0x00, 0x00, 0xAA).copyTo(mac);
    return kOk;
}

// AP auto-configuration.

ACTS(notifyApAutoConfSrchMsgReceived, (const ApAutoConfSrch* msg), msg->alMac, msg->msgId,
     msg->searchedRole, msg->freqBand)
ACTS(notifyApAutoConfRespMsgReceived, (const ApAutoConfInfo* msg), msg->alMac, msg->msgId,
     msg->supportedRole, msg->freqBand)
ACTS(notifyApAutoConfWscMsgReceived, (const ApAutoConfWsc* msg), msg->alMac, msg->srcMac,
     print({msg->frame, msg->frame + msg->frameLen}), msg->updateTime)
ACTS(notifyApAutoConfRenewMsgReceived, (const ApAutoConfInfo* msg), msg->alMac, msg->msgId,
     msg->supportedRole, msg->freqBand)
int notifyPBEventMsgReceived(const PbEvent* msg) {
    std::string mediaTypes;
    for (unsigned i = 0; i < msg->mediaTypeNum; i++) {
        mediaTypes += (i == 0 ? "" : ",") + std::to_string(msg->mediaTypes[i].mediaType) + "/" +
                      std::to_string(msg->mediaTypes[i].infoLen);
    }
    return act("notifyPBEventMsgReceived", msg->alMac, msg->msgId, mediaTypes);
}
ACTS(notifyPBJoinMsgReceived, (const PbJoin* msg), msg->alMac, msg->msgId, msg->txIntfMac,
     msg->newDevIntfMac)

int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse) {
    fakePlatform().wps = {static_cast<uint8_t>(deviceType), static_cast<uint8_t>(sendSearch),
                          static_cast<uint8_t>(sendResponse)};
    return act("setWPSConfig", deviceType, sendSearch, sendResponse);
}
ANSWERS(getWPSConfig, WpsConfig, p.wps)
ACTS(setWPSConfigChangetimeout,
     (int32_t deviceType, int32_t sendSearch, int32_t sendResponse, int32_t timeout), deviceType,
     sendSearch, sendResponse, timeout)
ACTS(setWPSConfByBand, (const char* band, int32_t sendSearch, int32_t sendResponse), band,
     sendSearch, sendResponse)
int getWPSConfByBand(uint8_t band, WpsBandConfig* config) {
    *config = fakePlatform().wpsBands[band];
    return kOk;
}
int getWPSSyncListByMac(WpsSyncRecord* record) {
    const auto it = fakePlatform().wpsSyncList.find(MacAddr(record->mac));
    if (it == fakePlatform().wpsSyncList.end()) return kFailure;
    std::copy(it->second.begin(), it->second.end(), record->value);
    return kOk;
}
int getWPSSyncListByBand(WpsSyncRecord* record) {
    fakePlatform().wpsSyncMac.at(record->selector).copyTo(record->mac);
    return kOk;
}
ANSWERS(getAPautoconfig, uint8_t, 0)
ACTS(setAPautoconfig, (uint8_t setting), setting)
ACTS(setAPautoconfigFlag, (const uint8_t* alMac, uint8_t band), alMac, band)
ACTS(setWiFiReloadFlag, (int32_t deviceType, int32_t reload), deviceType, reload)
ANSWERS(getWiFiReload, uint8_t, 0)
ACTS(setApproveFlag_flag, (int32_t approve), approve)
ANSWERS(getApproveFlag, int32_t, 0)
int checkMACisApprove(const uint8_t* alMac, const char*) {
    return fakePlatform().notApproved.contains(MacAddr(alMac)) ? kFailure : kOk;
}
ACTS(sendWPSRenew, (uint8_t band), band)
ACTS(sendWPSSearch, (uint8_t band), band)
ACTS(vmNetCtrl_WPS_sendRenewMsg, (uint8_t band), band)
ACTS(sendPBEvent, ())
ACTS(start_and_stop_Renew, (int32_t start), start)
ACTS(wifi_flag_init, ())
RETURNS(getSendRenew_flag, p.sendRenewFlag)
ACTS(check_Renew_timeout, ())
RETURNS(getChangetomeout_flag, p.changeTimeoutFlag)
ACTS(check_ChangeDeviceMode_timeout, ())
ACTS(reSendRenewbySynclist, ())

// Device actions.

ACTS(setIntfPwrStateByType, (uint32_t mediaType, uint32_t state), mediaType, state)
ACTS(setIntfPwrStateById, (const uint8_t* mac, uint32_t mediaType, uint32_t state), mac, mediaType,
     state)
ACTS(resetToDefault, ())
ACTS(setLEDvalue, (uint8_t ledOption), ledOption)
ACTS(setSystemvalue, (uint8_t systemOption), systemOption)
ACTS(setNetworkCtrl, (uint16_t networkOption, const char* command), networkOption, command)
ACTS(setWIFICountryCode, (const char* countryCode), countryCode)

ACTS(FWCtrl, (const FwCtrl* ctrl), ctrl->fwOption, ctrl->fwTopoOption, ctrl->url, ctrl->fileName)
int getfirmwareStatus(int32_t, int32_t, uint32_t* status) {
    *status = fakePlatform().fwStatus;
    return kOk;
}
ACTS(setFWState, (const char* state), state)
ACTS(setFWresult, (int32_t value), value)
ANSWERS_TEXT(getNewFWversion, PLATFORM_FW_TEXT_LEN, "2.0.0")
ANSWERS_TEXT(getNewFWdate, PLATFORM_FW_TEXT_LEN, "2024-01-01")
int getNewFWVersionByPlatform(const char*, const char*, char version[PLATFORM_FW_TEXT_LEN]) {
    return getNewFWversion(version);
}
int getDownloanURL(const char*, const char*, char url[PLATFORM_FW_URL_LEN],
                   char fileName[PLATFORM_FW_FILE_NAME_LEN]) {
    snprintf(url, PLATFORM_FW_URL_LEN, "%s", fakePlatform().fwUrl.c_str());
    snprintf(fileName, PLATFORM_FW_FILE_NAME_LEN, "%s", fakePlatform().fwFileName.c_str());
    return resultOf("getDownloanURL");
}
ACTS(checkLocalFW, ())
ACTS(set_vsftpd_StartStop, (int32_t start), start)

ANSWERS(getWIFIConfig, WifiStationList,
        {static_cast<uint16_t>(p.stations.size()), mallocList<WifiStation>(p.stations, kCopied)})

ANSWERS_TEXT(getWIFIStateSync, PLATFORM_SYNC_DATA_LEN, p.wifiStateSync)
ANSWERS_TEXT(getWIFIChannelSync, PLATFORM_SYNC_DATA_LEN, p.wifiChannelSync)
ACTS(parseWIFIStateSyncdata, (const uint8_t* alMac, const char* data), alMac, data)
ACTS(parseWIFIChannelSyncData, (const uint8_t* alMac, const char* data), alMac, data)
ACTS(setWIFIStateSyncList, (const uint8_t* alMac, const char* result), alMac, result)
ACTS(setWIFIChannelSyncList, (const uint8_t* alMac, const char* result), alMac, result)

ANSWERS_TEXT(getExtenderConfig, PLATFORM_SYNC_DATA_LEN, "")
ACTS(setExtenderConfig, (const uint8_t* alMac, const char* data), alMac, data)

ACTS(SecurityCtrl_parseM1, (const uint8_t* alMac, uint16_t len, const uint8_t* data), alMac,
     print({data, data + len}))
ACTS(SecurityCtrl_parseM2, (const uint8_t* alMac, uint16_t len, const uint8_t* data), alMac,
     print({data, data + len}))
ACTS(SecurityCtrl_cleanDataToList, ())

int setSpeedTestStartStop(const SpeedTestCtrl* ctrl) {
    fakePlatform().speedTestRunning = ctrl->enable == 1;
    return act("setSpeedTestStartStop", ctrl->enable, ctrl->action, ctrl->url, ctrl->startTime,
               ctrl->runtime, ctrl->lanMac);
}
ANSWERS_TEXT(getSpeedTestData, PLATFORM_SYNC_DATA_LEN, p.speedTestData)
ACTS(outputSpeedTestData, (const uint8_t* alMac, const char* data), alMac, data)
ACTS(initSpeedTestData, ())
RETURNS(getSpeedTestState, p.speedTestRunning ? kOk : kFailure)
int setSpeedTestState(int32_t running) {
    fakePlatform().speedTestRunning = running == 1;
    return act("setSpeedTestState", running);
}
RETURNS(getSpeedTestTimeout, p.speedTestTimeout)
RETURNS(getSpeedTestSendCtrlflag, p.speedTestCtrlFlag)
int setSpeedTestSendCtrlflag(int32_t flag) {
    fakePlatform().speedTestCtrlFlag = flag;
    return act("setSpeedTestSendCtrlflag", flag);
}

int getResponseLogFile(const uint8_t* alMac, LogFileRef* file) {
    *file = {"log.tgz", "ftp://192.0.2.1/"};
    return act("getResponseLogFile", alMac);
}
ACTS(DownloadLogFile, (const char* fileName, const char* ftpUrl), fileName, ftpUrl)
ACTS(DownloadLogFileAs, (const char* fileName, const char* ftpUrl, const char* target), fileName,
     ftpUrl, target)
ACTS(getAckDownloadLogFile, (const uint8_t* alMac, int32_t result), alMac, result)

ACTS(setAPSteering, (int32_t option), option)
ACTS(sendBcnRptReq, (const BcnRptReq* req), req->staMac, req->bssid, req->operatingClass,
     req->channel, req->mode, req->duration, req->ssid)
int getBcnRptReq(BcnRpt* report) {
    const auto it = fakePlatform().beaconReports.find(MacAddr(report->staMac));
    if (it == fakePlatform().beaconReports.end()) return kFailure;
    report->len = static_cast<uint16_t>(it->second.size());
    std::copy(it->second.begin(), it->second.end(), report->data);
    return kOk;
}
ACTS(sendBTMReq, (const BtmReq* req), req->staMac, req->bssid, req->operatingClass, req->channel,
     req->disassocImminent, req->disassocTimer)
ACTS(addToBlacklist, (const uint8_t* staMac), staMac)
ACTS(delFromBlacklist, (const uint8_t* staMac), staMac)

// State.

ANSWERS_TEXT(getDeviceIP, 32, p.deviceIP)
ANSWERS_TEXT(getDeviceUptime, 32, p.deviceUptime)
ANSWERS_TEXT(getDaisychainOption, 32, p.daisychainOption)
ANSWERS_TEXT(getCountryCode, 16, p.countryCode)
ANSWERS_TEXT(getWIFICountryCode, 16, p.wifiCountryCode)
ANSWERS_TEXT(getEthernetPortState, 128, p.ethernetPortState)
ANSWERS_TEXT(getBackhaulType, 32, p.backhaulType)
ANSWERS(getIPv6Info, IPv6Info, p.ipv6)
ANSWERS(getLEDState, LedState, p.led)
ANSWERS(getSecurityState, SecurityState, p.securityState)
ANSWERS(getNetworkState, NetworkState, p.networkState)
ANSWERS(getWIFIChannelInfo, WifiChannels, p.wifiChannels)
ANSWERS(getAPautoconfigTimes, AutoConfTimes, p.apAutoconfigTimes)

int getConfigureState(uint8_t* configure) {
    if (fakePlatform().configure == 0) return kFailure;
    *configure = fakePlatform().configure;
    return kOk;
}
