#include "vendor/vend_disc.h"

#include "core/result.h"
#include "topology/data_manager.h"
#include "topology/message_handler.h"
#include "vendor/control_request.h"
#include "vendor/payloads.h"
#include "vendor/vend_sender.h"

int sendVendDiscMsg(const MacAddr* dstMac) {
    const MacAddr* alMac = getAlMac();
    if (alMac == nullptr) return kFailure;
    // The interface MAC is that of the port by which the message leaves: the encoder knows it.
    auto disc = std::make_unique<VendDisc>();
    disc->alMac = *alMac;
    return dstMac != nullptr ? sendVendMsg(*dstMac, VEND_MSG_TYPE_VEND_DISC, std::move(disc))
                             : sendVendMcastMsg(VEND_MSG_TYPE_VEND_DISC, std::move(disc));
}

int handleVendDiscMsg(const VendContext& context) {
    const auto& disc = context.as<VendDisc>();
    if (disc.alMac.isZero() || isOwnAlMac(disc.alMac)) return kFailure;
    const Port& port = context.port;
    const int result = handleTopolDiscMsg(port.name, port.mac, port.mediaType, context.srcMac,
                                          disc.alMac, disc.intfMac);
    return result == kOk || result == kTopolDisabled ? kOk : kFailure;
}
