#include "vendor/vend_sender.h"

#include "core/result.h"
#include "topology/data_manager.h"
#include "transport/frame.h"
#include "transport/transmitter.h"

std::optional<VendMsg> makeVendMsg(VendMsgType type, std::unique_ptr<VendPayload> payload) {
    const AlTable* al = getAlTable();
    if (al == nullptr) return std::nullopt;
    VendMsg msg;
    msg.oui = al->oui;
    msg.alMac = al->alMac;
    msg.vendMsgType = type;
    msg.payload = std::move(payload);
    return msg;
}

int sendVendMsg(const MacAddr& dstMac, VendMsgType type, std::unique_ptr<VendPayload> payload,
                uint16_t* msgId) {
    const auto msg = makeVendMsg(type, std::move(payload));
    return msg ? requestSend1905UcastMsg(dstMac, kMsgVendSpec, &*msg, msgId) : kFailure;
}

int sendVendMcastMsg(VendMsgType type, std::unique_ptr<VendPayload> payload, uint16_t* msgId) {
    const auto msg = makeVendMsg(type, std::move(payload));
    return msg ? requestSend1905McastMsg(kMsgVendSpec, &*msg, msgId) : kFailure;
}

int sendVendRespMsg(const MacAddr& dstMac, uint16_t msgId, VendMsgType type,
                    std::unique_ptr<VendPayload> payload) {
    const auto msg = makeVendMsg(type, std::move(payload));
    return msg ? requestSend1905UcastRespMsg(dstMac, kMsgVendSpec, msgId, &*msg) : kFailure;
}
