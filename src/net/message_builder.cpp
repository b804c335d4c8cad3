#include "net/message_builder.h"

#include <algorithm>

#include "base/log.h"
#include "db/database.h"
#include "db/link_metrics.h"
#include "wire/frame.h"
#include "wire/vend_tlv.h"

namespace {

constexpr std::string_view kNoUpdateTime = "0000000000";

// Collects TLVs; a mandatory one that is missing spoils the list.
class Builder {
  public:
    Builder() { list_.reserve(12); }
    Builder& must(std::optional<Tlv>&& tlv) {
        if (!tlv) spoilt_ = true;
        return may(std::move(tlv));
    }
    Builder& may(std::optional<Tlv>&& tlv) {
        if (tlv) list_.push_back(std::move(*tlv));
        return *this;
    }
    TlvList take() { return spoilt_ ? TlvList{} : std::move(list_); }

  private:
    TlvList list_;
    bool spoilt_ = false;
};

template <typename Record>
const Record* bodyAs(const MsgBody& body) {
    const auto* record = std::get_if<const Record*>(&body);
    return record != nullptr ? *record : nullptr;
}

TlvList genTopolResp() {
    Builder builder;
    builder.must(genDevInfoTlv()).may(genDevBrdgCapTlv());
    const unsigned intfNum = getIntfNum();
    for (unsigned i = 0; i < intfNum; i++) builder.may(genNon1905NbrDevTlv(i));
    for (unsigned i = 0; i < intfNum; i++) builder.may(gen1905NbrDevTlv(i));
    return builder.must(genAlMacTlv()).take();
}

void addMetrics(Builder& builder, const LinkMetricInfo& info, uint8_t metrics) {
    if (metrics == 0 || metrics == 2) builder.must(genTxMetricTlv(info));
    if (metrics == 1 || metrics == 2) builder.must(genRxMetricTlv(info));
}

bool isNbrDev(const MacAddr& alMac) {
    const auto& devs = getNbrDevTable();
    return std::any_of(devs.begin(), devs.end(),
                       [&](const NbrDev& dev) { return dev.alMac == alMac; });
}

TlvList genMetricResp(const MetricQuery* query) {
    if (query == nullptr || query->nbrSelector > 1) return {};
    Builder builder;
    if (query->nbrSelector == 1 && !isNbrDev(query->nbrAlMac)) {
        return builder.must(genMetricResCodeTlv()).take();
    }
    const auto infos = getLinkMetricInfo();
    if (!infos) return {};
    for (const auto& info : *infos) {
        if (query->nbrSelector == 0 || info.alMac == query->nbrAlMac) {
            addMetrics(builder, info, query->metrics);
        }
    }
    return builder.take();
}

TlvList genWscMsg(const Wsc* wsc) {
    if (wsc == nullptr) return {};
    Builder builder;
    builder.must(genAlMacTlv()).must(genWscTlv(*wsc));
    if (!wsc->updateTime.empty() && wsc->updateTime != kNoUpdateTime) {
        builder.may(genWscUpdatetimeTlv(wsc->updateTime));
    }
    return builder.take();
}

TlvList genRoleBandMsg(uint16_t msgType, const RoleBand* info) {
    if (info == nullptr) return {};
    Builder builder;
    builder.must(genAlMacTlv());
    if (msgType == kMsgApAutoConfSrch) {
        builder.must(genSearchRoleTlv(info->role)).must(genAutoConfFreqBandTlv(info->band));
    } else {
        builder.must(genSupportedRoleTlv(info->role)).must(genSupportedFreqBandTlv(info->band));
    }
    return builder.take();
}

TlvList genBody(const Port& port, uint16_t msgType, const MsgBody& body) {
    switch (msgType) {
        case kMsgTopolDisc:
        case kMsgTopolNtf:
            return Builder().must(genAlMacTlv()).must(genMacTlv(port.mac)).take();
        case kMsgTopolQuery:
            return Builder().must(genAlMacTlv()).take();
        case kMsgTopolResp:
            return genTopolResp();
        case kMsgVendSpec: {
            const auto* vendMsg = bodyAs<VendMsg>(body);
            if (vendMsg == nullptr) return {};
            return Builder().must(genVendSpecTlv(*vendMsg, port.mac)).take();
        }
        case kMsgMetricQuery: {
            const auto* query = bodyAs<MetricQuery>(body);
            if (query == nullptr) return {};
            return Builder().must(genMetricQueryTlv(*query)).take();
        }
        case kMsgMetricResp:
            return genMetricResp(bodyAs<MetricQuery>(body));
        case kMsgApAutoConfSrch:
        case kMsgApAutoConfResp:
        case kMsgApAutoConfRenew:
            return genRoleBandMsg(msgType, bodyAs<RoleBand>(body));
        case kMsgApAutoConfWsc:
            return genWscMsg(bodyAs<Wsc>(body));
        case kMsgPBEventNtf: {
            const auto* event = bodyAs<PBEventNtf>(body);
            if (event == nullptr) return {};
            return Builder().must(genAlMacTlv()).must(genPBEventNtfTlv(*event)).take();
        }
        case kMsgPBJoinNtf: {
            const auto* join = bodyAs<PBJoinNtf>(body);
            if (join == nullptr) return {};
            return Builder().must(genAlMacTlv()).must(genPBJoinNtfTlv(*join)).take();
        }
        default:
            LOG(4, "message type (%d) isn't supported\r\n", msgType);
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

TlvList gen1905Msg(const Port& port, uint16_t msgType, const MsgBody& body, MsgTraits& traits) {
    LOG(4, "msgType = %d\r\n", msgType);
    traits = traitsOf(msgType);
    if (const auto* ready = bodyAs<TlvList>(body)) return *ready;
    return genBody(port, msgType, body);
}

bool isBuiltPerPort(uint16_t msgType, const MsgBody& body) {
    if (msgType == kMsgTopolDisc || msgType == kMsgTopolNtf) return true;
    const auto* vendMsg = bodyAs<VendMsg>(body);
    return vendMsg != nullptr && vendMsg->vendMsgType == VEND_MSG_TYPE_VEND_DISC;
}
