#include "handlers/vend_dispatch.h"

#include "base/log.h"
#include "base/result.h"
#include "orders/query_tracking.h"
#include "wire/standard_tlv.h"
#include "wire/vend_catalogue.h"
#include "wire/vend_tlv.h"

int initVendMessageHandler() {
    return initVendQueries();
}

int parseVendSpecTlvs(const Port& port, const MacAddr& srcMac, uint16_t msgId, Bytes area) {
    VendMsg msg;
    bool decoded = false;
    if (!walkTlvs(area, [&](Bytes tlv) {
            if (tlv[0] != kTlvVendSpec) return parseUnsupportedTlv(tlv);
            decoded = true;
            return parseVendSpecTlv(tlv, msg);
        })) {
        return kFailure;
    }
    if (!decoded || parseEndOfMsgTlv(area) != kOk) return kFailure;
    return handleVendSpecMsg(port, srcMac, msgId, msg, kVendPathNetwork);
}

int handleVendSpecMsg(const Port& port, const MacAddr& srcMac, uint16_t msgId, VendMsg& msg,
                      int path) {
    const VendType* type = findVendType(msg.vendMsgType);
    if (type == nullptr || type->label == nullptr) {
        LOG(3, "vendor specific message type (%d) is unsoppourted\r\n", msg.vendMsgType);
        return kFailure;
    }
    LOG(type->logLevel, "vendor specific message type is (%d)[%s]\r\n", msg.vendMsgType,
        type->label);
    return type->handle({port, srcMac, msgId, msg, path});
}
