#include "vendor/vend_handlers.h"

#include <algorithm>

#include "core/log.h"
#include "core/result.h"
#include "topology/message_handler.h"
#include "topology/standard_tlv.h"
#include "vendor/query_tracking.h"
#include "vendor/vend_tlv.h"

namespace {

struct VendContext {
    const Port& port;
    const MacAddr& srcMac;
    uint16_t msgId;
    VendMsg& msg;
    int path;
};

int handleVendDiscMsg(const VendContext& context) {
    const auto& disc = static_cast<const VendDisc&>(*context.msg.payload);
    if (disc.alMac.isZero()) return kFailure;
    const Port& port = context.port;
    const int result = handleTopolDiscMsg(port.name, port.mac, port.mediaType, context.srcMac,
                                          disc.alMac, disc.intfMac);
    return result == kOk ? kOk : kFailure;
}

struct VendHandler {
    uint16_t vendMsgType;
    const char* label;
    int logLevel;
    int (*handle)(const VendContext& context);
};

constexpr std::array kHandlers{
    VendHandler{VEND_MSG_TYPE_VEND_DISC, "VEND_MSG_TYPE_VEND_DISC", 3, handleVendDiscMsg},
};

}  // namespace

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
    MacAddr senderAlMac;
    return handleVendSpecMsg(port, srcMac, senderAlMac, msgId, msg, kVendPathNetwork);
}

int handleVendSpecMsg(const Port& port, const MacAddr& srcMac, MacAddr& senderAlMac, uint16_t msgId,
                      VendMsg& msg, int path) {
    senderAlMac = msg.alMac;
    const auto it = std::find_if(kHandlers.begin(), kHandlers.end(), [&](const auto& handler) {
        return handler.vendMsgType == msg.vendMsgType;
    });
    if (it == kHandlers.end()) {
        LOG(3, "vendor specific message type (%d) is unsoppourted\r\n", msg.vendMsgType);
        return kFailure;
    }
    LOG(it->logLevel, "vendor specific message type is (%d)[%s]\r\n", msg.vendMsgType, it->label);
    return it->handle({port, srcMac, msgId, msg, path});
}
