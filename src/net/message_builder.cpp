#include "net/message_builder.h"

#include <algorithm>

#include "base/log.h"
#include "db/database.h"
#include "db/link_metrics.h"
#include "wire/frame.h"
#include "wire/vend_tlv.h"

namespace {

constexpr std::string_view kNoUpdateTime = "0000000000";

// Collects TLVs. If a mandatory one is missing, the result is empty.
constexpr size_t kMaxMetricBytes = 40'000;  // of the links to a neighbor: some 30 frames

class Builder {
  public:
    Builder() { list_.reserve(12); }
    Builder& must(std::optional<Tlv>&& tlv) {
        if (!tlv) failed_ = true;
        return may(std::move(tlv));
    }
    Builder& may(std::optional<Tlv>&& tlv) {
        if (tlv) list_.push_back(std::move(*tlv));
        return *this;
    }
    // Adds the TLVs of all parts of a list, at most so many bytes, from which they are taken.
    template <typename Gen>
    Builder& parts(const Gen& gen, size_t& room) {
        for (size_t part = 0;; part++) {
            auto tlv = gen(part);
            if (!tlv) return *this;
            if (tlv->value.size() > room) break;
            room -= tlv->value.size();
            may(std::move(tlv));
        }
        LOG_PUTS(2, "the list of neighbors is cut\r");
        room = 0;
        return *this;
    }
    TlvList take() { return failed_ ? TlvList{} : std::move(list_); }

  private:
    TlvList list_;
    bool failed_ = false;
};

TlvList genTopolResp() {
    Builder builder;
    builder.must(genDevInfoTlv()).may(genDevBrdgCapTlv());
    const unsigned intfNum = getIntfNum();
    // No receiver takes more neighbors of a kind.
    size_t room = kMaxDevNbrs * 6;
    for (unsigned i = 0; i < intfNum; i++) {
        builder.parts([i](size_t part) { return genNon1905NbrDevTlv(i, part); }, room);
    }
    room = kMaxDevNbrs * 7;
    for (unsigned i = 0; i < intfNum; i++) {
        builder.parts([i](size_t part) { return gen1905NbrDevTlv(i, part); }, room);
    }
    return builder.must(genAlMacTlv()).take();
}

void addMetrics(Builder& builder, const LinkMetricInfo& info, uint8_t metrics) {
    size_t room = kMaxMetricBytes;
    if (metrics == 0 || metrics == 2) {
        builder.parts([&](size_t part) { return genTxMetricTlv(info, part); }, room);
    }
    if (metrics == 1 || metrics == 2) {
        builder.parts([&](size_t part) { return genRxMetricTlv(info, part); }, room);
    }
}

bool isNbrDev(const MacAddr& alMac) {
    const auto& devs = getNbrDevTable();
    return std::any_of(devs.begin(), devs.end(),
                       [&](const NbrDev& dev) { return dev.alMac == alMac; });
}

TlvList genMetricResp(const MetricQuery& query) {
    if (query.nbrSelector > 1) return {};
    Builder builder;
    if (query.nbrSelector == 1 && !isNbrDev(query.nbrAlMac)) {
        return builder.must(genMetricResCodeTlv()).take();
    }
    const auto infos = getLinkMetricInfo();
    if (!infos) return {};
    for (const auto& info : *infos) {
        if (query.nbrSelector == 0 || info.alMac == query.nbrAlMac) {
            addMetrics(builder, info, query.metrics);
        }
    }
    return builder.take();
}

TlvList genWscMsg(const Wsc& wsc) {
    Builder builder;
    builder.must(genAlMacTlv()).must(genWscTlv(wsc));
    if (!wsc.updateTime.empty() && wsc.updateTime != kNoUpdateTime) {
        builder.may(genWscUpdatetimeTlv(wsc.updateTime));
    }
    return builder.take();
}

// The TLVs of the types that need only the type and the port.
TlvList genOwnBody(const Port& port, uint16_t msgType) {
    switch (msgType) {
        case kMsgTopolDisc:
        case kMsgTopolNtf:
            return Builder().must(genAlMacTlv()).must(genMacTlv(port.mac)).take();
        case kMsgTopolQuery:
            return Builder().must(genAlMacTlv()).take();
        case kMsgTopolResp:
            return genTopolResp();
        default:
            if (msgType >= kMsgTypeNum) LOG(4, "message type (%d) isn't supported\r\n", msgType);
            return {};
    }
}

MsgTraits traitsOf(uint16_t msgType) {
    switch (msgType) {
        case kMsgTopolNtf:
        case kMsgVendSpec:
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

TlvList genLldpMsg(const Port& port) {
    LOG(4, "port = %s\r\n", port.name.c_str());
    return Builder()
        .must(genChassisIdTlv())
        .must(genPortIdTlv(port.mac))
        .must(genTtlTlv())
        .must(genEndOfLldpduTlv())
        .take();
}

MsgBody vendSpecBody(const VendMsg& msg) {
    return {
        [&msg](const Port& port) { return Builder().must(genVendSpecTlv(msg, port.mac)).take(); },
        msg.vendMsgType == VEND_MSG_TYPE_VEND_DISC};
}

MsgBody metricQueryBody(const MetricQuery& query) {
    return {[&query](const Port&) { return Builder().must(genMetricQueryTlv(query)).take(); }};
}

MsgBody metricRespBody(const MetricQuery& query) {
    return {[&query](const Port&) { return genMetricResp(query); }};
}

MsgBody apSearchBody(const RoleBand& searched) {
    return {[&searched](const Port&) {
        return Builder()
            .must(genAlMacTlv())
            .must(genSearchRoleTlv(searched.role))
            .must(genAutoConfFreqBandTlv(searched.band))
            .take();
    }};
}

MsgBody apSupportedBody(const RoleBand& supported) {
    return {[&supported](const Port&) {
        return Builder()
            .must(genAlMacTlv())
            .must(genSupportedRoleTlv(supported.role))
            .must(genSupportedFreqBandTlv(supported.band))
            .take();
    }};
}

MsgBody wscBody(const Wsc& wsc) {
    return {[&wsc](const Port&) { return genWscMsg(wsc); }};
}

MsgBody pbEventBody(const PBEventNtf& event) {
    return {[&event](const Port&) {
        return Builder().must(genAlMacTlv()).must(genPBEventNtfTlv(event)).take();
    }};
}

MsgBody pbJoinBody(const PBJoinNtf& join) {
    return {[&join](const Port&) {
        return Builder().must(genAlMacTlv()).must(genPBJoinNtfTlv(join)).take();
    }};
}

MsgBody readyBody(const TlvList& tlvs) {
    return {[&tlvs](const Port&) { return tlvs; }};
}

TlvList gen1905Msg(const Port& port, uint16_t msgType, const MsgBody& body, MsgTraits& traits) {
    LOG(4, "msgType = %d\r\n", msgType);
    traits = traitsOf(msgType);
    return body.build ? body.build(port) : genOwnBody(port, msgType);
}

bool isBuiltPerPort(uint16_t msgType, const MsgBody& body) {
    return msgType == kMsgTopolDisc || msgType == kMsgTopolNtf || body.namesPort;
}
