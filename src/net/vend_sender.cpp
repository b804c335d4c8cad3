#include "net/vend_sender.h"

#include "base/result.h"
#include "db/database.h"
#include "net/transmitter.h"
#include "wire/frame.h"
#include "wire/vend_payloads.h"

std::optional<VendMsg> makeVendMsg(VendMsgType type, VendPayload&& payload) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return std::nullopt;
    return VendMsg{
        .oui = al->oui, .alMac = al->alMac, .vendMsgType = type, .payload = std::move(payload)};
}

int sendVendMsg(const MacAddr& dstMac, VendMsgType type, VendPayload&& payload, uint16_t* msgId) {
    const auto msg = makeVendMsg(type, std::move(payload));
    return msg ? requestSend1905UcastMsg(dstMac, kMsgVendSpec, vendSpecBody(*msg), msgId)
               : kFailure;
}

int sendVendMcastMsg(VendMsgType type, VendPayload&& payload, uint16_t* msgId) {
    const auto msg = makeVendMsg(type, std::move(payload));
    return msg ? requestSend1905McastMsg(kMsgVendSpec, vendSpecBody(*msg), msgId) : kFailure;
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
