#include "vendor/vend_disc.h"

#include "core/result.h"
#include "topology/data_manager.h"
#include "topology/message_handler.h"
#include "vendor/payloads.h"
#include "vendor/vend_handlers.h"

int handleVendDiscMsg(const VendContext& context) {
    const auto& disc = context.as<VendDisc>();
    if (disc.alMac.isZero() || isOwnAlMac(disc.alMac)) return kFailure;
    const Port& port = context.port;
    const int result = handleTopolDiscMsg(port.name, port.mac, port.mediaType, context.srcMac,
                                          disc.alMac, disc.intfMac);
    return result == kOk || result == kTopolDisabled ? kOk : kFailure;
}
