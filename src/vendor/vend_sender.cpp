#include "vendor/vend_sender.h"

#include "topology/data_manager.h"

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
