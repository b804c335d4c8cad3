#include "service/raw_send.h"

#include "base/result.h"
#include "net/transmitter.h"
#include "orders/slots.h"
#include "wire/frame.h"

namespace {

int sendRaw(const ServReq& request) {
    const auto type = static_cast<uint16_t>(request.number(slots::req::kRawType));
    const Bytes area = request.bytes(slots::req::kRawTlvs, slots::kReqSize);
    Bytes rest = area;
    const bool wellFormed = walkTlvs(rest, flatSize1905);
    const Bytes tlvs = area.first(area.size() - rest.size());
    // The daemon builds an empty discovery, notification or query itself.
    const bool isOwn = tlvs.empty() && type <= kMsgTopolQuery;
    const MsgBody body = isOwn ? MsgBody{} : readyBody(tlvs);
    switch (type) {
        case kMsgTopolDisc:
        case kMsgTopolNtf:
        case kMsgApAutoConfSrch:
        case kMsgApAutoConfRenew:
        case kMsgPBEventNtf:
        case kMsgPBJoinNtf:
            return wellFormed ? requestSend1905McastMsg(type, body) : kFailure;
        case kMsgTopolQuery:
        case kMsgVendSpec:
        case kMsgMetricQuery:
        case kMsgApAutoConfResp:
        case kMsgApAutoConfWsc:
            return wellFormed
                       ? requestSend1905UcastMsg(request.mac(slots::req::kTarget), type, body)
                       : kFailure;
        default:
            return kTypeNotAllowed;
    }
}

}  // namespace

int handleRawSendReq(const ServReq& request, uint16_t answer) {
    return respRetCode(request.pid(), answer, sendRaw(request));
}
