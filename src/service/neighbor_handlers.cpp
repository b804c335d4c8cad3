#include "service/neighbor_handlers.h"

#include <functional>
#include <string>

#include "base/log.h"
#include "base/result.h"
#include "controller/announcements.h"
#include "db/database.h"
#include "net/transmitter.h"
#include "net/vend_sender.h"
#include "orders/control_lists.h"
#include "orders/pending_requests.h"
#include "orders/service_ids.h"
#include "orders/slots.h"
#include "orders/speed_test.h"
#include "orders/wifi_sync.h"
#include "platform/device.h"
#include "wire/frame.h"
#include "wire/sync_text.h"
#include "wire/vend_payloads.h"

namespace {

using namespace slots;

constexpr uint32_t kTopolAvailable = 1;

uint8_t byteOf(const ServReq& request, Field field) {
    return static_cast<uint8_t>(request.number(field));
}

uint16_t halfOf(const ServReq& request, Field field) {
    return static_cast<uint16_t>(request.number(field));
}

// kOk if an order may be sent to the device, else the code for its client.
int checkTarget(const MacAddr& target) {
    const TopolTable* topol = getNetTopolTable();
    if (topol == nullptr || topol->status != kTopolAvailable) {
        LOG_PUTS(2, "network topology is incompleted\r");
        return kTopolIncomplete;
    }
    if (findNbrDev(target) != nullptr) return kOk;
    LOG(2, "AL MAC (" MAC_FMT ") can't found: unmatched\r\n", MAC_ARGS(target));
    return kNotAddressed;
}

struct Order {
    VendMsgType type;
    VendPayload payload;
    std::function<void()> announce{};             // writes its line to the platform log
    std::function<void(uint16_t msgId)> enter{};  // adds it to the list of orders to repeat
};

int sendOrder(const ServReq& request, Order order) {
    markRequestIdle();
    if (order.announce) order.announce();
    const MacAddr target = request.mac(req::kTarget);
    uint16_t msgId = 0;
    if (sendVendMsg(target, order.type, std::move(order.payload), &msgId) != kOk) return kFailure;
    if (order.enter) order.enter(msgId);
    return registerServReq(request.pid(), request.servId(), msgId);
}

int giveOrder(const ServReq& request, Order order) {
    const int code = checkTarget(request.mac(req::kTarget));
    return code == kOk ? sendOrder(request, std::move(order))
                       : respRetCode(request.pid(), request.servId(), code);
}

// Orders whose only argument is one number.
int giveOption(const ServReq& request, VendMsgType type) {
    return giveOrder(request, {type, OptionPayload{request.mac(req::kTarget),
                                                   byteOf(request, req::kCtrlValue)}});
}

// An order to one device or to all.
struct Control {
    VendMsgType one, all;
    const char* name;    // in the platform log
    const char* object;  // likewise
    int (*enter)(const MacAddr* almac, int32_t value, int flag, uint16_t msgId);
};

int giveControl(const ServReq& request, const Control& control) {
    const MacAddr target = request.mac(req::kTarget);
    const auto value = static_cast<int32_t>(request.number(req::kCtrlValue));
    auto payload = OptionPayload{target, static_cast<uint8_t>(value)};
    if (!target.isZero()) {
        return giveOrder(request,
                         {control.one, std::move(payload),
                          [&] {
                              Outputlog("[%s] send %s (%d) to (" MAC_FMT ")", control.name,
                                        control.object, value, MAC_ARGS(target));
                          },
                          [&](uint16_t msgId) { (void)control.enter(&target, value, 1, msgId); }});
    }
    markRequestIdle();
    Outputlog("[%s] send %s (%d) to multicast", control.name, control.object, value);
    const int result = sendVendMcastMsg(control.all, std::move(payload));
    (void)control.enter(&target, value, 1, 0);
    return result;
}

// Sends to the device that the request names, or to all if its address is zero.
int sendToTarget(const ServReq& request, VendMsgType type, VendPayload&& payload,
                 uint16_t* msgId = nullptr) {
    const MacAddr target = request.mac(req::kTarget);
    return target.isZero() ? sendVendMcastMsg(type, std::move(payload), msgId)
                           : sendVendMsg(target, type, std::move(payload), msgId);
}

BcnRptReqPayload beaconRequest(const ServReq& request) {
    BcnRptReqPayload payload;
    payload.almac = request.mac(req::kTarget);
    payload.staMac = request.mac(req::kStation);
    payload.bssid = request.mac(req::kBssid);
    payload.operatingClass = byteOf(request, req::kOperatingClass);
    payload.channel = byteOf(request, req::kChannel);
    payload.mode = byteOf(request, req::kMode);
    payload.duration = halfOf(request, req::kDuration);
    payload.ssid = request.text(req::kSsid);
    return payload;
}

int sendNetworkCtrl(const MacAddr& target, uint16_t option, std::string_view command) {
    NetworkCtrlReq payload;
    payload.almac = target;
    payload.networkOption = option;
    payload.command = command;
    return sendVendMsg(target, VEND_MSG_TYPE_NETWORKCTRL_REQ, std::move(payload));
}

}  // namespace

int handlePingServReq(const ServReq& request, uint16_t /*answer*/) {
    const MacAddr target = request.mac(req::kTarget);
    const int code = checkTarget(target);
    if (code != kOk) return respRetCode(request.pid(), request.servId(), code);
    markRequestIdle();
    uint16_t msgId = 0;
    if (requestSend1905UcastMsg(target, kMsgTopolQuery, {}, &msgId) != kOk) return kFailure;
    return registerServReq(request.pid(), request.servId(), msgId);
}

int handleRebootNbrServReq(const ServReq& request, uint16_t /*answer*/) {
    const MacAddr target = request.mac(req::kTarget);
    return giveOrder(request,
                     {VEND_MSG_TYPE_REBOOT_REQ, AlMacPayload{target},
                      [&] { Outputlog("[Reboot] send Reboot to (" MAC_FMT ")", MAC_ARGS(target)); },
                      [&](uint16_t msgId) { (void)setRebootCtrlList(&target, msgId, 1); }});
}

int handleresetToDefaultServReq(const ServReq& request, uint16_t /*answer*/) {
    const MacAddr target = request.mac(req::kTarget);
    return giveOrder(request,
                     {VEND_MSG_TYPE_RESETTODEFAULT_REQ, AlMacPayload{target},
                      [&] {
                          Outputlog("[ResetToDefault] send reset to default to (" MAC_FMT ")",
                                    MAC_ARGS(target));
                      },
                      [&](uint16_t msgId) { (void)setResetToDefaultCtrlList(&target, msgId, 1); }});
}

int handleLEDCtrlServReq(const ServReq& request, uint16_t /*answer*/) {
    return giveControl(request, {VEND_MSG_TYPE_LED_CTRL_REQ, VEND_MSG_TYPE_LED_CTRL_MCAST_REQ,
                                 "LEDCtrl", "LED", setLEDCtrlList});
}

int handleSystemCtrlReq(const ServReq& request, uint16_t /*answer*/) {
    return giveControl(request, {VEND_MSG_TYPE_SYSTEM_CTRL_REQ, VEND_MSG_TYPE_SYSTEM_CTRL_MCAST_REQ,
                                 "SystemCtrl", "System", setSystemCtrlList});
}

int handleCtrlNbrIntfPwrServReq(const ServReq& request, uint16_t answer) {
    IntfPwrCtrlReq payload;
    payload.almac = request.mac(req::kTarget);
    if (const int code = checkTarget(payload.almac); code != kOk) {
        // Meant: for an unknown device, this request alone is refused under its answer's number.
        return respRetCode(request.pid(), code == kNotAddressed ? answer : request.servId(), code);
    }
    size_t num = request.number(req::kPwrIntfNum);
    if (num > req::kMaxPwrIntfNum) {
        LOG(2, "intfNum(%d) > MAX_INTF_NUM(%d)\r\n", static_cast<int>(num),
            static_cast<int>(req::kMaxPwrIntfNum));
        num = req::kMaxPwrIntfNum;
    }
    for (size_t i = 0; i < num; i++) {
        const size_t at = req::kPwrEntries + i * req::kPwrEntryLen;
        payload.intfs.push_back({request.macAt(at), halfOf(request, {at + 6, 2})});
    }
    payload.pwrState = byteOf(request, req::kPwrCtrl);
    return sendOrder(request, {VEND_MSG_TYPE_INTF_PWR_CTRL_REQ, std::move(payload)});
}

int handleWPSSETCONFNBRServReq(const ServReq& request, uint16_t /*answer*/) {
    return giveOption(request, VEND_MSG_TYPE_WPS_CTRL_REQ);
}

int handleAPSteeringServReq(const ServReq& request, uint16_t /*answer*/) {
    return giveOption(request, VEND_MSG_TYPE_APSteering_REQ);
}

int handleFWCTRLNBRServReq(const ServReq& request, uint16_t /*answer*/) {
    FwCtrlReq payload;
    payload.fwOption = byteOf(request, req::kFwOption);
    payload.fwTopoOption = byteOf(request, req::kFwTopoOption);
    payload.fwUrl = request.text(req::kFwUrl);
    return giveOrder(request, {VEND_MSG_TYPE_FW_CTRL_REQ, std::move(payload)});
}

int handleSendCommandServReq(const ServReq& request, uint16_t /*answer*/) {
    SendCommandReq payload;
    payload.commandUrl = request.text(req::kCommand);
    payload.commandDataCount = static_cast<uint16_t>(payload.commandUrl.size());
    return giveOrder(request, {VEND_MSG_TYPE_SENDCOMMAND_REQ, std::move(payload)});
}

int handleSendBcnRptServReq(const ServReq& request, uint16_t /*answer*/) {
    return giveOrder(request, {VEND_MSG_TYPE_SENDBCNRPT_REQ, beaconRequest(request)});
}

int handleGetBcnRptServReq(const ServReq& request, uint16_t /*answer*/) {
    return giveOrder(request, {VEND_MSG_TYPE_GETBCNRPT_REQ, beaconRequest(request)});
}

int handleSendBTMServReq(const ServReq& request, uint16_t /*answer*/) {
    BtmReqPayload payload;
    payload.almac = request.mac(req::kTarget);
    payload.staMac = request.mac(req::kStation);
    payload.bssid = request.mac(req::kBssid);
    payload.operatingClass = byteOf(request, req::kOperatingClass);
    payload.channel = byteOf(request, req::kChannel);
    payload.disassocImminent = byteOf(request, req::kDisassocImminent);
    payload.disassocTimer = halfOf(request, req::kDisassocTimer);
    return giveOrder(request, {VEND_MSG_TYPE_SENDBTM_REQ, std::move(payload)});
}

int handleBlacklistServReq(const ServReq& request, uint16_t /*answer*/) {
    BlacklistReq payload;
    payload.almac = request.mac(req::kTarget);
    payload.option = request.servId() == kServAddBlacklist ? kBlacklistAdd : kBlacklistRemove;
    payload.staMac = request.mac(req::kStation);
    return giveOrder(request, {VEND_MSG_TYPE_ADDBLACKLIST_REQ, std::move(payload)});
}

int handleSpeedTestReq(const ServReq& request, uint16_t answer) {
    SpeedTestCtrlReq payload;
    payload.enable = byteOf(request, req::kSpeedEnable);
    payload.action = byteOf(request, req::kSpeedAction);
    payload.url = request.text(req::kSpeedUrl);
    payload.startTime = request.number(req::kSpeedStart);
    payload.runtime = request.number(req::kSpeedRuntime);
    payload.lanMac = request.mac(req::kSpeedLanMac);
    const VendMsgType type =
        payload.enable != 0 ? VEND_MSG_TYPE_SPEEDTEST_START : VEND_MSG_TYPE_SPEEDTEST_STOP;
    const SpeedTestCtrlReq order = payload;
    uint16_t msgId = 0;
    const int code = sendToTarget(request, type, std::move(payload), &msgId);
    if (code == kOk) (void)noteSpeedTestOrder(request.mac(req::kTarget), msgId, order);
    return respRetCode(request.pid(), answer, code);
}

int handleWIFIStateSearchReq(const ServReq& request, uint16_t answer) {
    const MacAddr* own = getAlMac();
    const int code = own == nullptr
                         ? kFailure
                         : sendToTarget(request, VEND_MSG_TYPE_WIFISTATESEARCH, AlMacPayload{*own});
    return respRetCode(request.pid(), answer, code);
}

int handleWIFIStateRenewReq(const ServReq& request, uint16_t answer) {
    const MacAddr* own = getAlMac();
    std::string text;
    int code = own == nullptr ? kFailure : fetchSyncText(getWIFIStateSync, text);
    if (code == kOk) {
        uint16_t msgId = 0;
        code = sendToTarget(request, VEND_MSG_TYPE_WIFISTATERENEW, TextPayload{*own, text}, &msgId);
        if (code == kOk) noteWifiSyncSent(kWifiStateSync, request.mac(req::kTarget), msgId, text);
    }
    return respRetCode(request.pid(), answer, code);
}

int handleRequestLogFileReq(const ServReq& request, uint16_t answer) {
    const MacAddr target = request.mac(req::kTarget);
    const int code = sendToTarget(request, VEND_MSG_TYPE_REQUESTLOGFILE_REQ, AlMacPayload{target});
    if (code == kOk) (void)setLogFileList(&target);
    return respRetCode(request.pid(), answer, code);
}

int handleNetworkCtrlReq(const ServReq& request, uint16_t answer) {
    const MacAddr target = request.mac(req::kTarget);
    const uint16_t option = halfOf(request, req::kNetOption);
    const std::string_view command = request.text(req::kNetCommand);
    int code = kOk;
    if (!target.isZero()) {
        code = sendNetworkCtrl(target, option, command);
    } else if (const TopolTable* topol = getNetTopolTable()) {
        for (const auto& dev : topol->devs) {
            if (sendNetworkCtrl(dev.alMac, option, command) != kOk) code = kFailure;
        }
    }
    if (code == kOk || target.isZero()) (void)setNetworkCtrlList(&target, option, command, 1);
    return respRetCode(request.pid(), answer, code);
}

int handleSendDiscoveryReq(const ServReq& request, uint16_t answer) {
    const int topol = sendTopolDisc();
    const int vend = sendVendDiscMsg(nullptr);
    respRetCode(request.pid(), answer, kOk);
    return topol != kOk ? topol : vend;
}

int sendUpdateConifgCtrlToExtender() {
    const MacAddr* own = getAlMac();
    if (own == nullptr) return kFailure;
    std::string text;
    (void)fetchSyncText(getExtenderConfig, text);
    return sendVendMcastMsg(VEND_MSG_TYPE_UPDATEEXTENDCONF_REQ, TextPayload{*own, text});
}

int handleUpdateExtenderConifgReq(const ServReq& request, uint16_t answer) {
    // Meant: the client is answered first.
    respRetCode(request.pid(), answer, kOk);
    return sendUpdateConifgCtrlToExtender();
}
