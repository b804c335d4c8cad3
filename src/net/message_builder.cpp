#include "net/message_builder.h"

#include <algorithm>
#include <cassert>

#include "base/log.h"
#include "base/state.h"
#include "db/database.h"
#include "db/link_metrics.h"
#include "db/mesh_macs.h"
#include "db/options.h"
#include "wire/frame.h"
#include "wire/vend_tlv.h"

namespace {

constexpr std::string_view kNoUpdateTime = "0000000000";

constexpr size_t kMaxMetricBytes = 40'000;  // of the links to a neighbor: some 30 frames

bool writeTopolResp(TlvArea& area, unsigned intfNum) {
    if (!genDevInfoTlv(area)) return false;
    (void)genDevBrdgCapTlv(area);
    // No receiver takes more neighbors of a kind.
    size_t room = kMaxDevNbrs * 6;
    for (unsigned i = 0; i < intfNum; i++) (void)genNon1905NbrDevTlv(area, i, room);
    room = kMaxDevNbrs * 7;
    for (unsigned i = 0; i < intfNum; i++) (void)gen1905NbrDevTlv(area, i, room);
    return genAlMacTlv(area);
}

[[maybe_unused]] bool isCurrent(const TopolRespTlvs& built) {
    TlvArea anew;
    return meshMacsAreCurrent() && writeTopolResp(anew, built.intfNum) &&
           std::ranges::equal(anew.bytes(), built.tlvs.bytes());
}

// Every device asks after each change, so the response is kept until the next one.
bool genTopolResp(TlvArea& area) {
    auto& built = stateOf<TopolRespTlvs>();
    const uint8_t intfNum = getIntfNum();
    if (built.revision != topologyRevision() || built.intfNum != intfNum) {
        built.tlvs.clear();
        built.revision = 0;
        if (!writeTopolResp(built.tlvs, intfNum)) return false;
        built.revision = topologyRevision();
        built.intfNum = intfNum;
    }
    assert(isCurrent(built));
    area.append(built.tlvs.bytes());
    return true;
}

void addMetrics(TlvArea& area, const LinkMetricInfo& info, uint8_t metrics) {
    size_t room = kMaxMetricBytes;
    if (metrics == 0 || metrics == 2) (void)genTxMetricTlv(area, info, room);
    if (metrics == 1 || metrics == 2) (void)genRxMetricTlv(area, info, room);
}

bool genMetricResp(TlvArea& area, const MetricQuery& query) {
    if (query.nbrSelector > 1) return false;
    if (query.nbrSelector == 1 && findNbrDev(query.nbrAlMac) == nullptr) {
        return genMetricResCodeTlv(area);
    }
    const auto infos = getLinkMetricInfo();
    if (!infos) return false;
    for (const auto& info : *infos) {
        if (query.nbrSelector == 0 || info.alMac == query.nbrAlMac) {
            addMetrics(area, info, query.metrics);
        }
    }
    return true;
}

bool genWscMsg(TlvArea& area, const Wsc& wsc) {
    if (!genAlMacTlv(area) || !genWscTlv(area, wsc)) return false;
    if (!wsc.updateTime.empty() && wsc.updateTime != kNoUpdateTime) {
        (void)genWscUpdatetimeTlv(area, wsc.updateTime);
    }
    return true;
}

// The TLVs of the types that need only the type and the port.
bool genOwnBody(TlvArea& area, const Port& port, uint16_t msgType) {
    switch (msgType) {
        case kMsgTopolDisc:
        case kMsgTopolNtf:
            return genAlMacTlv(area) && genMacTlv(area, port.mac);
        case kMsgTopolQuery:
            return genAlMacTlv(area);
        case kMsgTopolResp:
            return genTopolResp(area);
        default:
            if (msgType >= kMsgTypeNum) LOG(4, "message type (%d) isn't supported\r\n", msgType);
            return false;
    }
}

MsgTraits traitsOf(uint16_t msgType) {
    switch (msgType) {
        case kMsgVendSpec:
            // In standard mode the only multicast is the discovery, which concerns one link.
            return {.relay = !getStandardOption()};
        case kMsgTopolNtf:
        case kMsgApAutoConfRenew:
        case kMsgPBEventNtf:
        case kMsgPBJoinNtf:
            return {.relay = true};
        case kMsgTopolQuery:
        case kMsgMetricQuery:
            return {.expectsResponse = true};
        case kMsgApAutoConfSrch:
            return {.relay = true, .expectsResponse = true};
        default:
            return {};
    }
}

}  // namespace

bool genLldpMsg(const Port& port, TlvArea& area) {
    LOG(4, "port = %s\r\n", port.name.c_str());
    return genChassisIdTlv(area) && genPortIdTlv(area, port.mac) && genTtlTlv(area) &&
           genEndOfLldpduTlv(area);
}

MsgBody vendSpecBody(const VendMsg& msg) {
    return {[&msg](const Port& port, TlvArea& area) { return genVendSpecTlv(area, msg, port.mac); },
            msg.vendMsgType == VEND_MSG_TYPE_VEND_DISC};
}

MsgBody metricQueryBody(const MetricQuery& query) {
    return {[&query](const Port&, TlvArea& area) { return genMetricQueryTlv(area, query); }};
}

MsgBody metricRespBody(const MetricQuery& query) {
    return {[&query](const Port&, TlvArea& area) { return genMetricResp(area, query); }};
}

MsgBody apSearchBody(const RoleBand& searched) {
    return {[&searched](const Port&, TlvArea& area) {
        return genAlMacTlv(area) && genSearchRoleTlv(area, searched.role) &&
               genAutoConfFreqBandTlv(area, searched.band);
    }};
}

MsgBody apSupportedBody(const RoleBand& supported) {
    return {[&supported](const Port&, TlvArea& area) {
        return genAlMacTlv(area) && genSupportedRoleTlv(area, supported.role) &&
               genSupportedFreqBandTlv(area, supported.band);
    }};
}

MsgBody wscBody(const Wsc& wsc) {
    return {[&wsc](const Port&, TlvArea& area) { return genWscMsg(area, wsc); }};
}

MsgBody pbEventBody(const PBEventNtf& event) {
    return {[&event](const Port&, TlvArea& area) {
        return genAlMacTlv(area) && genPBEventNtfTlv(area, event);
    }};
}

MsgBody pbJoinBody(const PBJoinNtf& join) {
    return {[&join](const Port&, TlvArea& area) {
        return genAlMacTlv(area) && genPBJoinNtfTlv(area, join);
    }};
}

MsgBody readyBody(Bytes tlvs) {
    return {[tlvs](const Port&, TlvArea& area) {
        area.append(tlvs);
        return true;
    }};
}

void gen1905Msg(const Port& port, uint16_t msgType, const MsgBody& body, TlvArea& area,
                MsgTraits& traits) {
    LOG(4, "msgType = %d\r\n", msgType);
    traits = traitsOf(msgType);
    area.clear();
    if (!(body.build ? body.build(port, area) : genOwnBody(area, port, msgType))) area.clear();
}

bool isBuiltPerPort(uint16_t msgType, const MsgBody& body) {
    return msgType == kMsgTopolDisc || msgType == kMsgTopolNtf || body.namesPort;
}
