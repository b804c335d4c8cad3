#include "net/vend_sender.h"

#include "base/result.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "net/transmitter.h"
#include "wire/frame.h"
#include "wire/vend_payloads.h"

namespace {

// In standard mode, only devices that have sent a vendor discovery get other vendor messages.
bool mayGet(const MacAddr& dstMac, VendMsgType type) {
    if (!getStandardOption() || type == VEND_MSG_TYPE_VEND_DISC) return true;
    const NbrDev* dev = findNbrDev(alMacOf(dstMac));
    return dev != nullptr && dev->speaksVendor;
}

// Sends the message to each of these devices, under one identifier.
int sendToEach(const VendMsg& msg, uint16_t* msgId) {
    std::optional<uint16_t> id;
    for (const auto& dev : getNbrDevTable()) {
        uint16_t used = 0;
        if (!dev.speaksVendor) continue;
        if (id) {
            (void)requestSend1905UcastRespMsg(dev.alMac, kMsgVendSpec, *id, vendSpecBody(msg));
        } else if (requestSend1905UcastMsg(dev.alMac, kMsgVendSpec, vendSpecBody(msg), &used) ==
                   kOk) {
            id = used;
        }
    }
    if (id && msgId != nullptr) *msgId = *id;
    return kOk;
}

}  // namespace

std::optional<VendMsg> makeVendMsg(VendMsgType type, VendPayload&& payload) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return std::nullopt;
    return VendMsg{
        .oui = al->oui, .alMac = al->alMac, .vendMsgType = type, .payload = std::move(payload)};
}

int sendVendMsg(const MacAddr& dstMac, VendMsgType type, VendPayload&& payload, uint16_t* msgId) {
    if (!mayGet(dstMac, type)) return kFailure;
    const auto msg = makeVendMsg(type, std::move(payload));
    return msg ? requestSend1905UcastMsg(dstMac, kMsgVendSpec, vendSpecBody(*msg), msgId)
               : kFailure;
}

int sendVendMcastMsg(VendMsgType type, VendPayload&& payload, uint16_t* msgId) {
    const auto msg = makeVendMsg(type, std::move(payload));
    if (!msg) return kFailure;
    if (getStandardOption() && type != VEND_MSG_TYPE_VEND_DISC) return sendToEach(*msg, msgId);
    return requestSend1905McastMsg(kMsgVendSpec, vendSpecBody(*msg), msgId);
}

int sendVendRespMsg(const MacAddr& dstMac, uint16_t msgId, const VendMsg& msg) {
    return requestSend1905UcastRespMsg(dstMac, kMsgVendSpec, msgId, vendSpecBody(msg));
}

int sendVendDiscMsg(const MacAddr* dstMac) {
    const MacAddr* alMac = getAlMac();
    if (alMac == nullptr) return kFailure;
    // The encoder fills in the interface MAC: that of the port by which the message leaves.
    VendDisc disc;
    disc.alMac = *alMac;
    return dstMac != nullptr ? sendVendMsg(*dstMac, VEND_MSG_TYPE_VEND_DISC, std::move(disc))
                             : sendVendMcastMsg(VEND_MSG_TYPE_VEND_DISC, std::move(disc));
}
