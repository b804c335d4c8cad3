// AP auto-configuration and push button messages. The daemon transports them. A Registrar with
// wifi.conf and an Enrollee without hooks exchange M1 and M2 themselves, and without the hook
// push-button the access points of hostapd follow push buttons. Otherwise the product's hooks
// decide what the messages mean for the radios. A hook answers with a WSC frame by printing it in
// hexadecimal.
#include <algorithm>
#include <memory>
#include <vector>

#include "api.h"
#include "base/result.h"
#include "common/hook.h"
#include "common/log.h"
#include "common/text.h"
#include "netctrl/autoconfig_enrollee.h"
#include "netctrl/autoconfig_registrar.h"
#include "netctrl/notices.h"
#include "netctrl/push_button.h"
#include "netctrl/renew.h"
#include "netctrl/watch.h"
#include "netctrl/wifi_report.h"
#include "platform/exports.h"

namespace {

void fillOwnAlMac(uint8_t* mac) {
    reportedAlMac().value_or(MacAddr{}).copyTo(mac);
}

int sendWscFrame(const MacAddr& dstMac, const std::vector<uint8_t>& frame) {
    ApAutoConfWscReq request{};
    dstMac.copyTo(request.dstMac);
    request.frameLen = static_cast<uint16_t>(frame.size());
    request.frame = frame.data();
    return requestService(SERV_REQ_AP_AUTOCONF_WSC, &request);
}

// Runs a hook and sends the frame that it prints to the given MAC address.
int runAutoConfHook(const std::string& name, const std::vector<std::string>& args,
                    const uint8_t* replyTo) {
    // Shared: the answer may come after this function has returned.
    const auto sent = std::make_shared<int>(kOk);
    const auto answer = [name, sent, to = MacAddr(replyTo)](int result, const std::string& output) {
        if (result != 0 || trim(output).empty()) return;
        const auto frame = parseHex(output);
        if (!frame) {
            LOG_LINE(1, "the output of hook %s is not hexadecimal", name.c_str());
        }
        *sent = frame ? sendWscFrame(to, *frame) : kFailure;
    };
    const int result = runHook(name, args, answer);
    return result != 0 ? result : *sent;
}

constexpr const char* kPushButtonHook = "push-button";
constexpr const char* kJoinHook = "push-button-join";
constexpr uint32_t kMaxRenewed = 256;  // devices to which a renew is repeated at a time

ApAutoConfRenewReq renewOf(uint8_t band) {
    ApAutoConfRenewReq request{};
    request.supportedRole = PLATFORM_REGISTRAR;
    request.freqBand = band;
    return request;
}

int sendRenew(uint8_t band) {
    ApAutoConfRenewReq request = renewOf(band);
    const int result = requestService(SERV_REQ_AP_AUTOCONF_RENEW, &request);
    if (result == kOk) noteRenew(band);
    return result;
}

int notifyRoleMessage(const char* hook, const ApAutoConfInfo* msg, AutoConfCause cause) {
    if (msg == nullptr) return kFailure;
    if (asksItself()) return startExchange(*msg, cause);
    return runAutoConfHook(hook,
                           {macText(msg->alMac), std::to_string(msg->supportedRole),
                            std::to_string(msg->freqBand), std::to_string(msg->msgId)},
                           msg->alMac);
}

}  // namespace

void repeatRenew(uint8_t band) {
    std::vector<uint8_t> macs(size_t{PLATFORM_MAC_LEN} * kMaxRenewed);
    const uint32_t num = getUnsyncedEnrollees(band, macs.data(), kMaxRenewed);
    for (uint32_t i = 0; i < num; i++) {
        ApAutoConfRenewReq request = renewOf(band);
        request.unicast = 1;
        std::copy_n(&macs[size_t{PLATFORM_MAC_LEN} * i], PLATFORM_MAC_LEN, request.dstMac);
        (void)requestService(SERV_REQ_AP_AUTOCONF_RENEW, &request);
    }
}

// Only a Registrar whose "send response" value for the band is set answers.
int notifyApAutoConfSrchMsgReceived(const ApAutoConfSrch* msg) {
    if (msg == nullptr) return kFailure;
    WpsConfig config{};
    WpsBandConfig band{};
    getWPSConfig(&config);
    if (config.deviceType != PLATFORM_REGISTRAR || msg->searchedRole != PLATFORM_REGISTRAR) {
        return kOk;
    }
    const uint8_t answers =
        getWPSConfByBand(msg->freqBand, &band) == kOk ? band.sendResponse : config.sendResponse;
    if (answers == 0) return kOk;

    ApAutoConfRespReq request{};
    std::copy_n(msg->alMac, PLATFORM_MAC_LEN, request.dstMac);
    std::copy_n(msg->alMac, PLATFORM_MAC_LEN, request.dstAlMac);
    request.msgId = msg->msgId;
    request.supportedRole = PLATFORM_REGISTRAR;
    request.freqBand = msg->freqBand;
    return requestService(SERV_REQ_AP_AUTOCONF_RESP, &request);
}

int notifyApAutoConfRespMsgReceived(const ApAutoConfInfo* msg) {
    return notifyRoleMessage("autoconf-response", msg, AutoConfCause::kResponse);
}

int notifyApAutoConfRenewMsgReceived(const ApAutoConfInfo* msg) {
    return notifyRoleMessage("autoconf-renew", msg, AutoConfCause::kRenew);
}

int notifyApAutoConfWscMsgReceived(const ApAutoConfWsc* msg) {
    if (msg == nullptr || (msg->frame == nullptr && msg->frameLen != 0)) return kFailure;
    if (answersItself()) return answerM1(*msg);
    if (asksItself()) return takeM2(*msg);
    WpsConfig config{};
    (void)getWPSConfig(&config);
    if (config.deviceType == PLATFORM_REGISTRAR && !hasHook("autoconf-wsc")) {
        // An Enrollee asks again and again, so this is no failure for the log.
        noteExchange(MacAddr(msg->alMac), nullptr, WifiExchange::kFailed,
                     "there is no wifi.conf and no hook autoconf-wsc");
        return kOk;
    }
    return runAutoConfHook("autoconf-wsc",
                           {macText(msg->alMac), macText(msg->srcMac),
                            hexText({msg->frame, msg->frameLen}), msg->updateTime},
                           msg->srcMac);
}

int notifyPBEventMsgReceived(const PbEvent* msg) {
    if (msg == nullptr || (msg->mediaTypes == nullptr && msg->mediaTypeNum != 0)) return kFailure;
    if (!hasHook(kPushButtonHook)) return pressPushButtons({MacAddr(msg->alMac), msg->msgId});
    std::vector<std::string> args{macText(msg->alMac), std::to_string(msg->msgId)};
    for (uint8_t i = 0; i < msg->mediaTypeNum; i++) {
        args.push_back(std::to_string(msg->mediaTypes[i].mediaType));
    }
    return runHook(kPushButtonHook, args);
}

int notifyPBJoinMsgReceived(const PbJoin* msg) {
    if (msg == nullptr) return kFailure;
    LOG_LINE(3, "push button: %s has joined at the interface %s",
             macText(msg->newDevIntfMac).c_str(), macText(msg->txIntfMac).c_str());
    if (!hasHook(kJoinHook)) return kOk;
    return runHook(kJoinHook, {macText(msg->alMac), std::to_string(msg->msgId),
                               macText(msg->txIntfMac), macText(msg->newDevIntfMac)});
}

int sendWPSSearch(uint8_t band) {
    if (const WifiBand* known = wifiBandOf(band)) reopenSearch(*known);
    ApAutoConfSrch request{};
    request.searchedRole = PLATFORM_REGISTRAR;
    request.freqBand = band;
    fillOwnAlMac(request.alMac);
    return requestService(SERV_REQ_AP_AUTOCONF_SEARCH, &request);
}

int sendWPSRenew(uint8_t band) {
    return sendRenew(band);
}

int vmNetCtrl_WPS_sendRenewMsg(uint8_t band) {
    return sendRenew(band);
}

// The event lists the media types of the radios, since the button adds devices to these.
int sendPBEvent() {
    std::vector<PbMediaType> types;
    for (const Intf& intf : reported().intfs) {
        if (!intf.isRadio()) continue;
        const auto type = static_cast<uint16_t>(intf.mediaType);
        const auto same = [type](const PbMediaType& t) { return t.mediaType == type; };
        if (std::none_of(types.begin(), types.end(), same)) {
            types.push_back(
                {type, static_cast<uint8_t>(intf.mediaInfo.size()), intf.mediaInfo.data()});
        }
    }
    PbEventReq request{};
    request.mediaTypeNum = static_cast<uint8_t>(types.size());
    request.mediaTypes = types.data();
    const int result = requestService(SERV_REQ_PB_EVENT, &request);
    // The button works even if no message can be sent.
    if (!hasHook(kPushButtonHook)) {
        (void)pressPushButtons({reportedAlMac().value_or(MacAddr{}), request.msgId});
    }
    return result;
}
