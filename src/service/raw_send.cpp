#include "core/result.h"
#include "service/neighbor_handlers.h"
#include "service/slots.h"
#include "topology/standard_tlv.h"
#include "transport/frame.h"
#include "transport/transmitter.h"
#include "vendor/vend_tlv.h"

namespace {

constexpr int kTypeNotAllowed = 64;

struct RawContent {
    RoleBand roleBand;
    MetricQuery query;
    VendMsg vend;
    Wsc wsc;
    PBEventNtf event;
    PBJoinNtf join;
};

size_t parseRawTlv(RawContent& content, Bytes tlv) {
    switch (tlv[0]) {
        case kTlvSearchRole:
            return parseSrchRoleTlv(content.roleBand.role, tlv);
        case kTlvAutoConfFreqBand:
            return parseAutoConfFreqBandTlv(content.roleBand.band, tlv);
        case kTlvSupportedRole:
            return parseSupportedRoleTlv(content.roleBand.role, tlv);
        case kTlvSupportedFreqBand:
            return parseSupportedFreqBandTlv(content.roleBand.band, tlv);
        case kTlvMetricQuery:
            return parseMetricQueryTlv(content.query, tlv);
        case kTlvVendSpec:
            return parseVendSpecTlv(tlv, content.vend);
        case kTlvWsc:
            return parseWscTlv(content.wsc, tlv);
        case kTlvWscUpdateTime:
            return parseWscUpdatetimeTlv(content.wsc.updateTime, tlv);
        case kTlvPBEventNtf:
            return parsePBEventNtfTlv(content.event, tlv);
        case kTlvPBJoinNtf:
            return parsePBJoinNtfTlv(content.join, tlv);
        default:
            return parseUnsupportedTlv(tlv);
    }
}

int sendRaw(const ServReq& request) {
    const auto type = static_cast<uint16_t>(request.number(slots::req::kRawType));
    const MacAddr target = request.mac(slots::req::kTarget);
    RawContent content;
    Bytes area = request.bytes(slots::req::kRawTlvs, slots::kReqSize);
    const bool understood = walkTlvs(area, [&](Bytes tlv) { return parseRawTlv(content, tlv); });
    const auto toAll = [&](const MsgBody& body) {
        return understood ? requestSend1905McastMsg(type, body) : kFailure;
    };
    const auto toOne = [&](const MsgBody& body) {
        return understood ? requestSend1905UcastMsg(target, type, body) : kFailure;
    };
    switch (type) {
        case kMsgTopolDisc:
        case kMsgTopolNtf:
            return toAll({});
        case kMsgTopolQuery:
            return toOne({});
        case kMsgVendSpec:
            return content.vend.payload != nullptr ? toOne(&content.vend) : kFailure;
        case kMsgMetricQuery:
            return toOne(&content.query);
        case kMsgApAutoConfSrch:
        case kMsgApAutoConfRenew:
            return toAll(&content.roleBand);
        case kMsgApAutoConfResp:
            return toOne(&content.roleBand);
        case kMsgApAutoConfWsc:
            return toOne(&content.wsc);
        case kMsgPBEventNtf:
            return toAll(&content.event);
        case kMsgPBJoinNtf:
            return toAll(&content.join);
        default:
            return kTypeNotAllowed;
    }
}

}  // namespace

int handleRawSendReq(const ServReq& request, uint16_t answer) {
    return respRetCode(request.pid(), answer, sendRaw(request));
}
