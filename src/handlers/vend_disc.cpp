#include "handlers/vend_disc.h"

#include "base/result.h"
#include "db/database.h"
#include "handlers/standard_handlers.h"
#include "handlers/vend_context.h"
#include "wire/vend_payloads.h"

int handleVendDiscMsg(const VendContext& context, const VendDisc& disc) {
    if (disc.alMac.isZero() || isOwnAlMac(disc.alMac)) return kFailure;
    const Port& port = context.port;
    const int result = handleTopolDiscMsg(port.name, port.mac, port.mediaType, context.srcMac,
                                          disc.alMac, disc.intfMac);
    return result == kOk || result == kTopolDisabled ? kOk : kFailure;
}
