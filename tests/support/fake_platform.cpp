#include "support/fake_platform.h"

#include <algorithm>
#include <cstring>

#include "support/fake_platform_parts.h"

using namespace fake;

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

ACTS(initNetCtrl, ())
ACTS(startNetCtrl, ())
int runNetCtrl() {
    const int result = act("runNetCtrl");
    return fakePlatform().onRun ? fakePlatform().onRun() : result;
}
ACTS(destroyNetCtrl, ())
ACTS(setNetCtrlDebugLevel, (uint8_t level), level)
ACTS(outputlogData, (const char* line), line)

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
    return act("notifyPBEventMsgReceived", MacAddr(msg->alMac), msg->msgId, mediaTypes);
}
ACTS(notifyPBJoinMsgReceived, (const PbJoin* msg), msg->alMac, msg->msgId, msg->txIntfMac,
     msg->newDevIntfMac)

int setWPSConfig(int32_t deviceType, int32_t sendSearch, int32_t sendResponse) {
    const int result = act("setWPSConfig", deviceType, sendSearch, sendResponse);
    if (result == kOk) {
        fakePlatform().wps = {static_cast<uint8_t>(deviceType), static_cast<uint8_t>(sendSearch),
                              static_cast<uint8_t>(sendResponse)};
    }
    return result;
}
ANSWERS(getWPSConfig, WpsConfig, wps)
ACTS(setWPSConfigChangetimeout,
     (int32_t deviceType, int32_t sendSearch, int32_t sendResponse, int32_t timeout), deviceType,
     sendSearch, sendResponse, timeout)
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
ACTS(setAPautoconfigFlag, (const uint8_t* alMac, uint8_t band), alMac, band)
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
ACTS(sendWPSRenew, (uint8_t band), band)
ACTS(sendWPSSearch, (uint8_t band), band)
ACTS(vmNetCtrl_WPS_sendRenewMsg, (uint8_t band), band)
ACTS(sendPBEvent, ())
ACTS(start_and_stop_Renew, (int32_t start), start)
ACTS(wifi_flag_init, ())
int getSendRenew_flag() {
    return fakePlatform().sendRenewFlag;
}
ACTS(check_Renew_timeout, ())
int getChangetomeout_flag() {
    return fakePlatform().changeTimeoutFlag;
}
ACTS(check_ChangeDeviceMode_timeout, ())
ACTS(reSendRenewbySynclist, ())
