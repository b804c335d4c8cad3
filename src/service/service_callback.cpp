#include "service/service_callback.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/wifi_bands.h"
#include "handlers/standard_handlers.h"
#include "net/transmitter.h"
#include "net/vend_sender.h"
#include "platform/autoconfig.h"
#include "platform/exports.h"
#include "platform/lifecycle.h"
#include "wire/frame.h"

// The layout that the platform library relies on.
static_assert(offsetof(ApAutoConfRespReq, dstAlMac) == 6 &&
              offsetof(ApAutoConfRespReq, msgId) == 12);
static_assert(offsetof(ApAutoConfRenewReq, dstMac) == 6 &&
              offsetof(ApAutoConfRenewReq, unicast) == 16);
static_assert(offsetof(PbEventReq, msgId) == 0);

namespace {

MediaInfo mediaInfoOf(const PbMediaType& type) {
    if (type.info == nullptr) return {};
    return {type.info, type.info + type.infoLen};
}

int sendSearch(const ApAutoConfSrch& info) {
    const RoleBand body{info.searchedRole, info.freqBand};
    return requestSend1905McastMsg(kMsgApAutoConfSrch, apSearchBody(body));
}

bool isNeighbor(const MacAddr& mac) {
    return std::ranges::any_of(getIntfTable(), [&](const IntfTable& intf) {
        return std::ranges::any_of(intf.nbrs,
                                   [&](const IntfNbrDev& nbr) { return nbr.isNamedBy(mac); });
    });
}

// Both addresses name the receiver.
int sendResponse(const ApAutoConfRespReq& info) {
    const RoleBand body{info.supportedRole, info.freqBand};
    const MacAddr first(info.dstMac);
    return requestSend1905UcastRespMsg(isNeighbor(first) ? first : MacAddr(info.dstAlMac),
                                       kMsgApAutoConfResp, info.msgId, apSupportedBody(body));
}

int sendWsc(const ApAutoConfWscReq& info) {
    Wsc body;
    if (info.frame != nullptr) body.frame.assign(info.frame, info.frame + info.frameLen);
    body.updateTime = std::string_view(info.updateTime, sizeof info.updateTime);
    return requestSend1905UcastMsg(MacAddr(info.dstMac), kMsgApAutoConfWsc, wscBody(body));
}

// Devices that acknowledged an earlier renew must acknowledge this one again.
void forgetAcknowledgements(const ApAutoConfRenewReq& info) {
    TopolTable* topol = getNetTopolTable();
    const auto band = bandIndex(info.freqBand);
    if (topol == nullptr || !band) return;
    const MacAddr dst(info.dstMac);
    const MacAddr* owner = getalMacOfIeee1905DevTableByintfMac(dst);
    const MacAddr& meant = owner != nullptr ? *owner : dst;
    for (const auto& dev : topol->devs) {
        if (info.unicast != 0 && dev.alMac != meant) continue;
        topol->devs.edit(dev).apAutoConf.syncFlags[*band] = 0;
    }
    requestUpdateDataModel(0);
}

int sendRenew(const ApAutoConfRenewReq& info) {
    (void)start_and_stop_Renew(1);
    forgetAcknowledgements(info);
    const RoleBand body{info.supportedRole, info.freqBand};
    if (info.unicast == 0)
        return requestSend1905McastMsg(kMsgApAutoConfRenew, apSupportedBody(body));
    return requestSend1905UcastMsg(MacAddr(info.dstMac), kMsgApAutoConfRenew,
                                   apSupportedBody(body));
}

int sendEvent(PbEventReq& info) {
    PBEventNtf body;
    for (size_t i = 0; info.mediaTypes != nullptr && i < info.mediaTypeNum; i++) {
        body.mediaTypes.push_back({info.mediaTypes[i].mediaType, mediaInfoOf(info.mediaTypes[i])});
    }
    return requestSend1905McastMsg(kMsgPBEventNtf, pbEventBody(body), &info.msgId);
}

int sendJoin(const PbJoinReq& info) {
    const PBJoinNtf body{MacAddr(info.alMac), info.msgId, MacAddr(info.txIntfMac),
                         MacAddr(info.newDevIntfMac)};
    return requestSend1905McastMsg(kMsgPBJoinNtf, pbJoinBody(body));
}

int send(uint32_t servId, void* info) {
    switch (servId) {
        case SERV_REQ_AP_AUTOCONF_SEARCH:
            return sendSearch(*static_cast<const ApAutoConfSrch*>(info));
        case SERV_REQ_AP_AUTOCONF_RESP:
            return sendResponse(*static_cast<const ApAutoConfRespReq*>(info));
        case SERV_REQ_AP_AUTOCONF_WSC:
            return sendWsc(*static_cast<const ApAutoConfWscReq*>(info));
        case SERV_REQ_AP_AUTOCONF_RENEW:
            return sendRenew(*static_cast<const ApAutoConfRenewReq*>(info));
        case SERV_REQ_PB_EVENT:
            return sendEvent(*static_cast<PbEventReq*>(info));
        case SERV_REQ_PB_JOIN:
            return sendJoin(*static_cast<const PbJoinReq*>(info));
        case SERV_REQ_AP_AUTOCONF_ACK: {
            const auto& ack = *static_cast<const ApAutoConfAckReq*>(info);
            return acknowledgeRenew(MacAddr(ack.alMac), ack.freqBand);
        }
        default:
            LOG(2, "Service request (ID = %d) isn't supported\r\n", static_cast<int>(servId));
            return kFailure;
    }
}

}  // namespace

uint32_t getUnsyncedEnrollees(uint8_t band, uint8_t* macs, uint32_t max) {
    const TopolTable* topol = getNetTopolTable();
    const auto index = bandIndex(band);
    if (topol == nullptr || !index) return 0;
    uint32_t num = 0;
    for (const auto& dev : topol->devs) {
        if (num == max) break;
        if (dev.role != PLATFORM_ENROLLEE || dev.apAutoConf.syncFlags[*index] != 0) continue;
        dev.alMac.copyTo(macs + size_t{PLATFORM_MAC_LEN} * num++);
    }
    return num;
}

void servReqCallback(uint32_t servId, void* info, uint32_t* retCode) {
    LOG(4, "servId = %d\r\n", static_cast<int>(servId));
    int result = kFailure;
    if (info == nullptr) {
        LOG_PUTS(2, "info is NULL\r");
    } else {
        result = send(servId, info);
        if (result != kOk) {
            LOG(2, "failed to handle the service request (ID = %d)\r\n", static_cast<int>(servId));
        }
    }
    if (retCode != nullptr) *retCode = static_cast<uint32_t>(result);
}

int sendSecurityCtrlMsg(const uint8_t* alMac, uint8_t type, uint16_t len, const uint8_t* data) {
    if (alMac == nullptr || (data == nullptr && len != 0)) return kFailure;
    SecurityCtrlMsg msg{MacAddr(alMac), type, {}};
    if (len != 0) msg.data.assign(data, data + len);
    return sendVendMsg(MacAddr(alMac), VEND_MSG_TYPE_SECURITYCTRL_MSG, std::move(msg));
}
