#include "handlers/vend_disc.h"

#include <utility>

#include "base/result.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/options.h"
#include "db/upcalls.h"
#include "handlers/standard_handlers.h"
#include "handlers/vend_context.h"
#include "orders/wifi_sync.h"
#include "wire/vend_payloads.h"

namespace {

// A device that starts uses the message identifiers from 0 on: at most one for each port before its
// first vendor discovery.
constexpr uint16_t kFirstMsgIds = 256;
// The most that a device uses between two vendor discoveries. Identifiers wrap after 65,534.
constexpr uint16_t kMsgIdsBetween = 4096;
constexpr uint32_t kMsgIdModulus = 65535;

bool hasStarted(uint16_t msgId, uint16_t before) {
    if (msgId >= kFirstMsgIds || msgId >= before) return false;
    const bool wrapped = msgId + kMsgIdModulus - before < kMsgIdsBetween;
    // Discoveries overtake each other on redundant links.
    const bool overtaken = before - msgId < kFirstMsgIds;
    return !wrapped && !overtaken;
}

void noteStart(const MacAddr& alMac, uint16_t msgId) {
    const Ieee1905DevTable* dev = getIeee1905DevTableById(alMac);
    if (dev == nullptr) return;
    const uint16_t before = std::exchange(dev->vendDiscId, msgId);
    if (hasStarted(msgId, before)) forgetWifiSync(alMac);
}

// In standard mode the device could not be asked for its configuration before. Forces passes of the
// controller loop.
void noteVendorSpeaker(const MacAddr& alMac) {
    NbrDev* const dev = findNbrDev(alMac);
    if (dev == nullptr || std::exchange(dev->speaksVendor, true)) return;
    if (getStandardOption()) upcalls().deviceDescribed(alMac);
}

}  // namespace

int handleVendDiscMsg(const VendContext& context, const VendDisc& disc) {
    if (disc.alMac.isZero() || isOwnAlMac(disc.alMac)) return kFailure;
    noteStart(disc.alMac, context.msgId);
    const Port& port = context.port;
    // The multicast leaves together with a topology discovery, of which redundant links may have
    // brought the copy to another port.
    const NbrMsgType kind = context.isMulticast ? kNbrDiscovery : kNbrUcastDisc;
    const int result = handleTopolDiscMsg(port.name, port.mac, port.mediaType, context.srcMac,
                                          disc.alMac, disc.intfMac, kind);
    noteVendorSpeaker(disc.alMac);
    return result == kOk || result == kTopolDisabled ? kOk : kFailure;
}
