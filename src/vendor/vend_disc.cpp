#include "vendor/vend_disc.h"

#include "core/result.h"
#include "transport/frame.h"
#include "transport/transmitter.h"
#include "vendor/vend_sender.h"

int sendVendDiscMsg(const MacAddr* dstMac) {
    // The interface MAC is that of the port by which the message leaves: the encoder knows it.
    auto disc = std::make_unique<VendDisc>();
    auto msg = makeVendMsg(VEND_MSG_TYPE_VEND_DISC, nullptr);
    if (!msg) return kFailure;
    disc->alMac = msg->alMac;
    msg->payload = std::move(disc);
    return dstMac != nullptr ? requestSend1905UcastMsg(*dstMac, kMsgVendSpec, &*msg)
                             : requestSend1905McastMsg(kMsgVendSpec, &*msg);
}
