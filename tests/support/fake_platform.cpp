#include "support/fake_platform.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <type_traits>

#include "core/result.h"

namespace {

// A copy that the daemon frees with free().
uint8_t* mallocCopy(const void* bytes, size_t size) {
    if (size == 0) return nullptr;
    auto* copy = static_cast<uint8_t*>(malloc(size));
    if (copy == nullptr) abort();
    std::memcpy(copy, bytes, size);
    return copy;
}

uint8_t* mallocMacs(const std::vector<MacAddr>& macs) {
    std::vector<uint8_t> packed;
    for (const auto& mac : macs) packed.insert(packed.end(), mac.b.begin(), mac.b.end());
    return mallocCopy(packed.data(), packed.size());
}

template <typename T>
T* mallocZeroed() {
    auto* record = static_cast<T*>(calloc(1, sizeof(T)));
    if (record == nullptr) abort();
    return record;
}

// Appends to a malloc'ed list whose last link is at tail.
template <typename T>
T* append(T**& tail) {
    *tail = mallocZeroed<T>();
    T* added = *tail;
    tail = &added->next;
    return added;
}

template <size_t N>
void copyMac(uint8_t (&out)[N], const MacAddr& mac) {
    static_assert(N == 6);
    mac.copyTo(out);
}

IntfDesc* describe(const std::vector<FakeIntf>& intfs) {
    IntfDesc* head = nullptr;
    IntfDesc** tail = &head;
    for (const auto& intf : intfs) {
        IntfDesc* desc = append(tail);
        std::memcpy(desc->name, intf.name.data(), std::min<size_t>(intf.name.size(), 15));
        copyMac(desc->mac, intf.mac);
        desc->pwrState = intf.pwrState;
        desc->operStatus = intf.operStatus;
        desc->mediaType = intf.mediaType;
        desc->mediaInfoLen = static_cast<uint8_t>(intf.mediaInfo.size());
        desc->mediaInfo = mallocCopy(intf.mediaInfo.data(), intf.mediaInfo.size());
        std::copy(intf.oui.begin(), intf.oui.end(), desc->oui);
        desc->vendInfoLen = static_cast<uint32_t>(intf.vendInfo.size());
        desc->vendInfo = mallocCopy(intf.vendInfo.data(), intf.vendInfo.size());
        desc->nbrNum = static_cast<uint16_t>(intf.nbrs.size());
        desc->nbrMacs = mallocMacs(intf.nbrs);
    }
    return head;
}

std::string shown(const MacAddr& mac) {
    char text[18];
    snprintf(text, sizeof text, MAC_FMT, MAC_ARGS(mac));
    return text;
}

std::string hexText(const uint8_t* bytes, size_t size) {
    std::string text;
    for (const uint8_t byte : std::span(bytes, size)) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

template <typename T>
std::string shown(const T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
        return std::to_string(value);
    } else {
        return value;
    }
}

int resultOf(const char* function) {
    const FakePlatform& p = fakePlatform();
    if (p.fail.empty() && p.results.empty()) return kOk;
    if (p.fail.contains(function)) return kFailure;
    const auto it = p.results.find(function);
    return it == p.results.end() ? kOk : it->second;
}

// Records an action and tells its scripted result.
template <typename... Args>
int act(const char* function, const Args&... args) {
    std::string call = function;
    ((call += ' ' + shown(args)), ...);
    fakePlatform().calls.push_back(std::move(call));
    if (fakePlatform().onAction) fakePlatform().onAction();
    return resultOf(function);
}

int fillText(const char* function, char* out, size_t size, const std::string& text) {
    if (const int result = resultOf(function)) return result;
    snprintf(out, size, "%s", text.c_str());
    return kOk;
}

template <typename T>
int fill(const char* function, T* out, const T& value) {
    if (const int result = resultOf(function)) return result;
    *out = value;
    return kOk;
}

// Questions that are answered with a field as it stands.
#define ANSWERS_TEXT(function, size, field)                           \
    int function(char text[size]) {                                   \
        return fillText(#function, text, size, fakePlatform().field); \
    }
#define ANSWERS(function, type, field)                     \
    int function(type* out) {                              \
        return fill(#function, out, fakePlatform().field); \
    }

}  // namespace

FakePlatform& fakePlatform() {
    static FakePlatform platform;
    return platform;
}

uint32_t FakePlatform::raiseNetStatus(uint32_t eventId, const void* info) const {
    uint32_t result = 0xFFFF;
    if (netStatusCallback != nullptr) netStatusCallback(eventId, info, &result);
    return result;
}

uint32_t FakePlatform::raiseServReq(uint32_t servId, void* info) const {
    uint32_t result = 0xFFFF;
    if (servReqCallback != nullptr) servReqCallback(servId, info, &result);
    return result;
}

bool FakePlatform::called(const std::string& beginning) const {
    return std::any_of(calls.begin(), calls.end(),
                       [&](const auto& call) { return call.starts_with(beginning); });
}

FakeIntfDescs::FakeIntfDescs(const std::vector<FakeIntf>& intfs)
    : head_(describe(intfs)), num_(static_cast<uint8_t>(intfs.size())) {}

FakeIntfDescs::~FakeIntfDescs() {
    while (head_ != nullptr) {
        IntfDesc* next = head_->next;
        free(head_->mediaInfo);
        free(head_->vendInfo);
        free(head_->nbrMacs);
        free(head_);
        head_ = next;
    }
}

// Lifecycle.

int initNetCtrl() {
    return act("initNetCtrl");
}
int startNetCtrl() {
    return act("startNetCtrl");
}
int runNetCtrl() {
    const int result = act("runNetCtrl");
    return fakePlatform().onRun ? fakePlatform().onRun() : result;
}
int destroyNetCtrl() {
    return act("destroyNetCtrl");
}
int setNetCtrlDebugLevel(uint8_t level) {
    return act("setNetCtrlDebugLevel", level);
}
int outputlogData(const char* line) {
    return act("outputlogData", line);
}

int setNetStatusEventCallbackFunc(NetStatusEventCallback callback) {
    fakePlatform().netStatusCallback = callback;
    return resultOf("setNetStatusEventCallbackFunc");
}
int setServReqCallbackFunc(ServReqCallback callback) {
    fakePlatform().servReqCallback = callback;
    return resultOf("setServReqCallbackFunc");
}

// Descriptions.

int getAlDesc(AlDesc* desc) {
    if (const int result = resultOf("getAlDesc")) return result;
    const FakePlatform& p = fakePlatform();
    copyMac(desc->alMac, p.alMac);
    desc->vendInfoLen = static_cast<uint32_t>(p.vendInfo.size());
    desc->vendInfo = mallocCopy(p.vendInfo.data(), p.vendInfo.size());
    return kOk;
}

int getIntfDesc(IntfDescList* list) {
    if (const int result = resultOf("getIntfDesc")) return result;
    list->intfNum = static_cast<uint8_t>(fakePlatform().intfs.size());
    list->head = describe(fakePlatform().intfs);
    return kOk;
}

int getIntfmatchNum(uint8_t* num) {
    if (const int result = resultOf("getIntfmatchNum")) return result;
    *num = static_cast<uint8_t>(fakePlatform().intfs.size());
    return kOk;
}

int getBrdgCapability(BrdgDescList* list) {
    if (const int result = resultOf("getBrdgCapability")) return result;
    list->tupleNum = static_cast<uint8_t>(fakePlatform().brdgTuples.size());
    list->head = nullptr;
    BrdgDesc** tail = &list->head;
    for (const auto& tuple : fakePlatform().brdgTuples) {
        BrdgDesc* desc = append(tail);
        desc->macNum = static_cast<uint32_t>(tuple.size());
        desc->macs = mallocMacs(tuple);
    }
    return kOk;
}

int getSecurityConfig(SecurityDesc* desc) {
    if (const int result = resultOf("getSecurityConfig")) return result;
    const FakePlatform& p = fakePlatform();
    desc->mode = p.securityMode;
    desc->len = static_cast<uint16_t>(p.security.size());
    desc->value = mallocCopy(p.security.data(), p.security.size());
    return kOk;
}

int getLinkMetricList(const uint8_t* intfMac, uint32_t mediaType, LinkDescList* list) {
    FakePlatform& p = fakePlatform();
    p.linkMetricCalls++;
    if (const int result = resultOf("getLinkMetricList")) return result;
    const auto intf = std::find_if(p.intfs.begin(), p.intfs.end(), [&](const FakeIntf& i) {
        return i.mac == MacAddr(intfMac) && i.mediaType == mediaType;
    });
    if (intf == p.intfs.end()) return kFailure;
    list->linkNum = static_cast<uint16_t>(intf->links.size());
    list->head = nullptr;
    LinkDesc** tail = &list->head;
    for (const auto& link : intf->links) {
        LinkDesc* desc = append(tail);
        *desc = link;
        desc->next = nullptr;
    }
    return kOk;
}

int getDeviceSendMsgEnable(const char* intfName) {
    return fakePlatform().excludedIntfs.contains(intfName) ? 1 : resultOf("getDeviceSendMsgEnable");
}

ANSWERS_TEXT(getFirmwareVersion, 128, firmwareVersion)
ANSWERS_TEXT(getHostname, 128, hostname)
ANSWERS_TEXT(getBuildNumber, 32, buildNumber)
ANSWERS_TEXT(getDeviceMode, 32, deviceMode)
int getDeviceLANMac(uint8_t mac[PLATFORM_MAC_LEN]) {
    if (const int result = resultOf("getDeviceLANMac")) return result;
    fakePlatform().lanMac.copyTo(mac);
    return kOk;
}

// AP auto-configuration.

int notifyApAutoConfSrchMsgReceived(const ApAutoConfSrch* msg) {
    return act("notifyApAutoConfSrchMsgReceived", MacAddr(msg->alMac), msg->msgId,
               msg->searchedRole, msg->freqBand);
}
int notifyApAutoConfRespMsgReceived(const ApAutoConfInfo* msg) {
    return act("notifyApAutoConfRespMsgReceived", MacAddr(msg->alMac), msg->msgId,
               msg->supportedRole, msg->freqBand);
}
int notifyApAutoConfWscMsgReceived(const ApAutoConfWsc* msg) {
    return act("notifyApAutoConfWscMsgReceived", MacAddr(msg->alMac), MacAddr(msg->srcMac),
               hexText(msg->frame, msg->frameLen), msg->updateTime);
}
int notifyApAutoConfRenewMsgReceived(const ApAutoConfInfo* msg) {
    return act("notifyApAutoConfRenewMsgReceived", MacAddr(msg->alMac), msg->msgId,
               msg->supportedRole, msg->freqBand);
}
int notifyPBEventMsgReceived(const PbEvent* msg) {
    std::string mediaTypes;
    for (unsigned i = 0; i < msg->mediaTypeNum; i++) {
        mediaTypes += (i == 0 ? "" : ",") + std::to_string(msg->mediaTypes[i].mediaType) + "/" +
                      std::to_string(msg->mediaTypes[i].infoLen);
    }
    return act("notifyPBEventMsgReceived", MacAddr(msg->alMac), msg->msgId, mediaTypes);
}
int notifyPBJoinMsgReceived(const PbJoin* msg) {
    return act("notifyPBJoinMsgReceived", MacAddr(msg->alMac), msg->msgId, MacAddr(msg->txIntfMac),
               MacAddr(msg->newDevIntfMac));
}

int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse) {
    const int result = act("setWPSConfig", deviceType, sendSearch, sendResponse);
    if (result == kOk) {
        fakePlatform().wps = {static_cast<uint8_t>(deviceType), static_cast<uint8_t>(sendSearch),
                              static_cast<uint8_t>(sendResponse)};
    }
    return result;
}
ANSWERS(getWPSConfig, WpsConfig, wps)
int setWPSConfigChangetimeout(int32_t deviceType, int32_t sendSearch, int32_t sendResponse,
                              int32_t timeout) {
    return act("setWPSConfigChangetimeout", deviceType, sendSearch, sendResponse, timeout);
}
int setWPSConfByBand(const char* band, int32_t sendSearch, int32_t sendResponse) {
    const int result = act("setWPSConfByBand", band, sendSearch, sendResponse);
    if (result != kOk) return result;
    for (auto& [number, config] : fakePlatform().wpsBands) {
        if (std::strcmp(band, "All") == 0 || std::to_string(number) == band) {
            config = {static_cast<uint8_t>(sendSearch), static_cast<uint8_t>(sendResponse)};
        }
    }
    return kOk;
}
int getWPSConfByBand(uint8_t band, WpsBandConfig* config) {
    if (const int result = resultOf("getWPSConfByBand")) return result;
    const auto it = fakePlatform().wpsBands.find(band);
    if (it == fakePlatform().wpsBands.end()) return kFailure;
    *config = it->second;
    return kOk;
}
int getWPSSyncListByMac(WpsSyncRecord* record) {
    if (const int result = resultOf("getWPSSyncListByMac")) return result;
    const auto it = fakePlatform().wpsSyncList.find(MacAddr(record->mac));
    if (it == fakePlatform().wpsSyncList.end()) return kFailure;
    std::copy(it->second.begin(), it->second.end(), record->value);
    return kOk;
}
int getWPSSyncListByBand(WpsSyncRecord* record) {
    if (const int result = resultOf("getWPSSyncListByBand")) return result;
    if (record->selector > 1) return kFailure;
    copyMac(record->mac, fakePlatform().wpsSyncMac.at(record->selector));
    return kOk;
}
ANSWERS(getAPautoconfig, uint8_t, apAutoconfig)
int setAPautoconfig(uint8_t setting) {
    const int result = act("setAPautoconfig", setting);
    if (result == kOk) fakePlatform().apAutoconfig = setting;
    return result;
}
int setAPautoconfigFlag(const uint8_t* alMac, uint8_t band) {
    return act("setAPautoconfigFlag", MacAddr(alMac), band);
}
int setWiFiReloadFlag(int32_t deviceType, int32_t reload) {
    const int result = act("setWiFiReloadFlag", deviceType, reload);
    if (result == kOk) fakePlatform().wifiReload = static_cast<uint8_t>(reload);
    return result;
}
ANSWERS(getWiFiReload, uint8_t, wifiReload)
int setApproveFlag_flag(int32_t approve) {
    fakePlatform().approveFlag = approve;
    return act("setApproveFlag_flag", approve);
}
ANSWERS(getApproveFlag, int32_t, approveFlag)
int checkMACisApprove(const uint8_t* alMac, const char*) {
    return fakePlatform().notApproved.contains(MacAddr(alMac)) ? kFailure
                                                               : resultOf("checkMACisApprove");
}
int sendWPSRenew(uint8_t band) {
    return act("sendWPSRenew", band);
}
int sendWPSSearch(uint8_t band) {
    return act("sendWPSSearch", band);
}
int vmNetCtrl_WPS_sendRenewMsg(uint8_t band) {
    return act("vmNetCtrl_WPS_sendRenewMsg", band);
}
int sendPBEvent() {
    return act("sendPBEvent");
}
int start_and_stop_Renew(int32_t start) {
    return act("start_and_stop_Renew", start);
}
int wifi_flag_init() {
    return act("wifi_flag_init");
}
int getSendRenew_flag() {
    return fakePlatform().sendRenewFlag;
}
int check_Renew_timeout() {
    return act("check_Renew_timeout");
}
int getChangetomeout_flag() {
    return fakePlatform().changeTimeoutFlag;
}
int check_ChangeDeviceMode_timeout() {
    return act("check_ChangeDeviceMode_timeout");
}
int reSendRenewbySynclist() {
    return act("reSendRenewbySynclist");
}

// Device actions.

int setIntfPwrStateByType(uint32_t mediaType, uint32_t state) {
    return act("setIntfPwrStateByType", mediaType, state);
}
int setIntfPwrStateById(const uint8_t* mac, uint32_t mediaType, uint32_t state) {
    return act("setIntfPwrStateById", MacAddr(mac), mediaType, state);
}
int resetToDefault() {
    return act("resetToDefault");
}
int setLEDvalue(uint8_t ledOption) {
    return act("setLEDvalue", ledOption);
}
int setSystemvalue(uint8_t systemOption) {
    return act("setSystemvalue", systemOption);
}
int setNetworkCtrl(uint16_t networkOption, const char* command) {
    return act("setNetworkCtrl", networkOption, command);
}
int setWIFICountryCode(const char* countryCode) {
    const int result = act("setWIFICountryCode", countryCode);
    if (result == kOk) fakePlatform().wifiCountryCode = countryCode;
    return result;
}

int FWCtrl(const FwCtrl* ctrl) {
    return act("FWCtrl", ctrl->fwOption, ctrl->fwTopoOption, ctrl->url, ctrl->fileName);
}
int getfirmwareStatus(int32_t, int32_t, uint32_t* status) {
    if (const int result = resultOf("getfirmwareStatus")) return result;
    *status = fakePlatform().fwStatus;
    return kOk;
}
int setFWState(const char* state) {
    return act("setFWState", state);
}
int setFWresult(int32_t value) {
    return act("setFWresult", value);
}
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
int set_vsftpd_StartStop(int32_t start) {
    return act("set_vsftpd_StartStop", start);
}

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
int parseWIFIStateSyncdata(const uint8_t* alMac, const char* data) {
    return act("parseWIFIStateSyncdata", MacAddr(alMac), data);
}
int parseWIFIChannelSyncData(const uint8_t* alMac, const char* data) {
    return act("parseWIFIChannelSyncData", MacAddr(alMac), data);
}
int setWIFIStateSyncList(const uint8_t* alMac, const char* result) {
    return act("setWIFIStateSyncList", MacAddr(alMac), result);
}
int setWIFIChannelSyncList(const uint8_t* alMac, const char* result) {
    return act("setWIFIChannelSyncList", MacAddr(alMac), result);
}

int SecurityCtrl_parseM1(const uint8_t* alMac, uint16_t len, const uint8_t* data) {
    return act("SecurityCtrl_parseM1", MacAddr(alMac), hexText(data, len));
}
int SecurityCtrl_parseM2(const uint8_t* alMac, uint16_t len, const uint8_t* data) {
    return act("SecurityCtrl_parseM2", MacAddr(alMac), hexText(data, len));
}
int SecurityCtrl_cleanDataToList() {
    return act("SecurityCtrl_cleanDataToList");
}

int setSpeedTestStartStop(const SpeedTestCtrl* ctrl) {
    const int result = act("setSpeedTestStartStop", ctrl->enable, ctrl->action, ctrl->url,
                           ctrl->startTime, ctrl->runtime, MacAddr(ctrl->lanMac));
    if (result == kOk) fakePlatform().speedTestRunning = ctrl->enable == 1;
    return result;
}
int outputSpeedTestData(const uint8_t* alMac, const char* data) {
    return act("outputSpeedTestData", MacAddr(alMac), data);
}
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
int DownloadLogFile(const char* fileName, const char* ftpUrl) {
    return act("DownloadLogFile", fileName, ftpUrl);
}
int getAckDownloadLogFile(const uint8_t* alMac, int32_t result) {
    return act("getAckDownloadLogFile", MacAddr(alMac), result);
}

int setAPSteering(int32_t option) {
    return act("setAPSteering", option);
}
int sendBcnRptReq(const BcnRptReq* req) {
    return act("sendBcnRptReq", MacAddr(req->staMac), MacAddr(req->bssid), req->operatingClass,
               req->channel, req->mode, req->duration, req->ssid);
}
int getBcnRptReq(BcnRpt* report) {
    if (const int result = resultOf("getBcnRptReq")) return result;
    const auto it = fakePlatform().beaconReports.find(MacAddr(report->staMac));
    if (it == fakePlatform().beaconReports.end()) return kFailure;
    const size_t size = std::min<size_t>(it->second.size(), PLATFORM_BCN_RPT_LEN);
    report->len = static_cast<uint16_t>(size);
    std::memcpy(report->data, it->second.data(), size);
    return kOk;
}
int sendBTMReq(const BtmReq* req) {
    return act("sendBTMReq", MacAddr(req->staMac), MacAddr(req->bssid), req->operatingClass,
               req->channel, req->disassocImminent, req->disassocTimer);
}
int addToBlacklist(const uint8_t* staMac) {
    return act("addToBlacklist", MacAddr(staMac));
}
int delFromBlacklist(const uint8_t* staMac) {
    return act("delFromBlacklist", MacAddr(staMac));
}

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
