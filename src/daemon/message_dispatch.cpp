#include "daemon/message_dispatch.h"

#include <cstdio>
#include <functional>
#include <string_view>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "handlers/standard_handlers.h"
#include "handlers/vend_dispatch.h"
#include "net/message_integrity.h"
#include "net/relay_limit.h"
#include "net/transmitter.h"
#include "net/work_limit.h"
#include "orders/answer_writers.h"
#include "wire/standard_tlv.h"
#include "wire/vend_tlv.h"

namespace {

struct Received {
    Port& port;
    const FrameHdr& hdr;
    Bytes area;
    const Proof& proof;
};

// A TLV type, and the function that reads such a TLV into the record of the message. It gets the
// bytes from the TLV's header on and returns how many it consumed, 0 to reject the message.
template <typename Record>
struct TlvRow {
    uint8_t type;
    size_t (*parse)(Record& record, Bytes tlv);
};

// Reads a TLV into one member of the record.
template <auto kMember, auto kParse, typename Record>
size_t into(Record& record, Bytes tlv) {
    return kParse(record.*kMember, tlv);
}

// Reads an area up to its end-of-message TLV, which the area of a fragment may lack. TLVs that the
// rows do not name are skipped.
template <typename Record, size_t N>
bool parseArea(Bytes area, Record& record, const TlvRow<Record> (&rows)[N], bool hasEnd = true) {
    const auto parse = [&](Bytes tlv) {
        for (const auto& row : rows) {
            if (row.type == tlv[0]) return row.parse(record, tlv);
        }
        return parseUnsupportedTlv(tlv);
    };
    if (!walkTlvs(area, parse)) return false;
    return (area.empty() && !hasEnd) || parseEndOfMsgTlv(area) == kOk;
}

// Whether this fragment needs an end-of-message TLV: with version 0, only the last one does.
bool needsEnd(const FragCmdu& cmdu, const std::vector<uint8_t>& fragment) {
    return cmdu.version != kStandardVersion || &fragment == &cmdu.fragments.back();
}

// True if the message was sent by this device itself.
bool isLoop(const MacAddr& alMac) {
    if (!isOwnAlMac(alMac)) return false;
    LOG(4, "loop alMac = " MAC_FMT " , return FAILURE\n", MAC_ARGS(alMac));
    return true;
}

// The AL MAC TLV of a message whose sender must not be this device.
size_t parseForeignAlMac(MacAddr& alMac, Bytes tlv) {
    const size_t consumed = parseAlMacTlv(alMac, tlv);
    return consumed != 0 && isLoop(alMac) ? 0 : consumed;
}

// Handles a multicast unless it was seen before. seenAs is the message type under which it is
// remembered; relay is true for the types that are relayed. In standard mode the relay indicator
// must be set, too.
template <typename Handle>
int handleOnce(const Received& msg, const MacAddr& alMac, uint16_t seenAs, bool relay,
               Handle&& handle) {
    if (const int seen = checkMcastMsgReceived(alMac, seenAs, msg.hdr.msgId); seen != kOk) {
        return seen;
    }
    const int result = handle();
    // Meant: a message is relayed even if its handler fails.
    const bool isWanted = relay && (msg.hdr.relay || !getStandardOption());
    if (isWanted && mayRelay(alMac, msg.port)) (void)requestRelayMcastMsg(msg.port);
    return result;
}

// Topology discovery and notification.
struct Announcement {
    MacAddr alMac;
    MacAddr intfMac;
};
constexpr TlvRow<Announcement> kAnnouncementTlvs[] = {
    {kTlvAlMac, into<&Announcement::alMac, parseForeignAlMac>},
    {kTlvMac, into<&Announcement::intfMac, parseMacTlv>},
};

bool parseAnnouncement(const Received& msg, Announcement& info) {
    info.intfMac = msg.hdr.srcMac;
    return parseArea(msg.area, info, kAnnouncementTlvs) && !info.alMac.isZero();
}

int parseTopolDisc(const Received& msg) {
    Announcement info;
    if (!parseAnnouncement(msg, info)) return kFailure;
    return handleOnce(msg, info.alMac, kMsgTopolDisc, false, [&] {
        return handleTopolDiscMsg(msg.port.name, msg.port.mac, msg.port.mediaType, msg.hdr.srcMac,
                                  info.alMac, info.intfMac);
    });
}

int parseTopolNtf(const Received& msg) {
    Announcement info;
    if (!parseAnnouncement(msg, info)) return kFailure;
    // Meant: notifications are remembered under the type of discoveries.
    return handleOnce(msg, info.alMac, kMsgTopolDisc, true, [&] {
        return handleTopolNtfMsg(msg.port.name, msg.port.mac, msg.port.mediaType, msg.hdr.srcMac,
                                 info.alMac);
    });
}

struct TopolQuery {
    MacAddr alMac;
};
constexpr TlvRow<TopolQuery> kTopolQueryTlvs[] = {
    {kTlvAlMac, into<&TopolQuery::alMac, parseForeignAlMac>},
};

int parseTopolQuery(const Received& msg) {
    TopolQuery query;
    if (!parseArea(msg.area, query, kTopolQueryTlvs)) return kFailure;
    return handleTopolQueryMsg(msg.port, msg.hdr.srcMac, msg.hdr.msgId);
}

struct TopolResp {
    uint16_t ifIndex;  // of the receiving port
    DevTopol& dev;     // the record that is used for all responses
};
size_t parseRespAlMac(TopolResp& resp, Bytes tlv) {
    return parseForeignAlMac(resp.dev.alMac, tlv);
}
size_t parseRespDevInfo(TopolResp& resp, Bytes tlv) {
    return parseDevInfoTlv(resp.dev, resp.ifIndex, tlv);
}
size_t parseRespBrdgCap(TopolResp& resp, Bytes tlv) {
    return parseDevBrdgCapTlv(resp.dev, tlv);
}
size_t parseRespNon1905Nbr(TopolResp& resp, Bytes tlv) {
    return parseNon1905NbrDevTlv(resp.dev, tlv);
}
size_t parseResp1905Nbr(TopolResp& resp, Bytes tlv) {
    return parse1905NbrDevTlv(resp.dev, tlv);
}
constexpr TlvRow<TopolResp> kTopolRespTlvs[] = {
    {kTlvAlMac, parseRespAlMac},        {kTlvDevInfo, parseRespDevInfo},
    {kTlvDevBrdgCap, parseRespBrdgCap}, {kTlvNon1905Nbr, parseRespNon1905Nbr},
    {kTlv1905Nbr, parseResp1905Nbr},
};

// An empty record for the next response.
DevTopol& emptyResp() {
    constexpr size_t kKeptMemory = 65536;
    DevTopol& dev = stateOf<MessageDispatch>().resp;
    if (dev.memory() > kKeptMemory) dev = {};
    dev.clear();
    return dev;
}

int finishTopolResp(const Port& port, const MacAddr& srcMac, uint16_t msgId, const DevTopol& dev) {
    if (dev.alMac.isZero()) {
        LOG_PUTS(2, "topology response without AL MAC\r");
        return kFailure;
    }
    if (isLoop(dev.alMac)) return kFailure;
    // First, as the client measures the time.
    (void)answerClient(kServPing, msgId, kOk);
    return handleTopolRespMsg(port.mac, port.mediaType, srcMac, dev);
}

int parseTopolResp(const Received& msg) {
    TopolResp resp{msg.port.ifIndex, emptyResp()};
    if (!parseArea(msg.area, resp, kTopolRespTlvs)) return kFailure;
    return finishTopolResp(msg.port, msg.hdr.srcMac, msg.hdr.msgId, resp.dev);
}

int parseTopolRespFragTlvs(const Port& port, const FragCmdu& cmdu) {
    LOG(4, "fragemented CMDU message (type = %d, id = %d)\r\n", cmdu.msgType, cmdu.msgId);
    TopolResp resp{port.ifIndex, emptyResp()};
    for (const auto& fragment : cmdu.fragments) {
        if (!parseArea(fragment, resp, kTopolRespTlvs, needsEnd(cmdu, fragment))) return kFailure;
    }
    return finishTopolResp(port, cmdu.srcMac, cmdu.msgId, resp.dev);
}

int parseVendSpec(const Received& msg) {
    if (getStandardOption() && !hasOwnVendTlv(msg.area)) {
        return relayUnread(msg.port, msg.hdr, msg.area);
    }
    return parseVendSpecTlvs(msg.port, msg.hdr, msg.area, msg.proof);
}

constexpr TlvRow<MetricQuery> kMetricQueryTlvs[] = {{kTlvMetricQuery, parseMetricQueryTlv}};

int parseMetricQuery(const Received& msg) {
    MetricQuery query;
    if (!parseArea(msg.area, query, kMetricQueryTlvs)) return kFailure;
    return handleMetricQueryMsg(msg.port, msg.hdr.srcMac, msg.hdr.msgId, query);
}

struct MetricResp {
    LinkMetricInfo info{};
    uint8_t code = 0;
};
constexpr TlvRow<MetricResp> kMetricRespTlvs[] = {
    {kTlvTxMetric, into<&MetricResp::info, parseTxMetricTlv>},
    {kTlvRxMetric, into<&MetricResp::info, parseRxMetricTlv>},
    {kTlvMetricResCode, into<&MetricResp::code, parseMetricResCodeTlv>},
};

int parseMetricResp(const Received& msg) {
    MetricResp resp;
    return parseArea(msg.area, resp, kMetricRespTlvs) ? handleMetricRespMsg() : kFailure;
}

int parseMetricRespFragTlvs(const FragCmdu& cmdu) {
    LOG(4, "fragemented CMDU message (type = %d, id = %d)\r\n", cmdu.msgType, cmdu.msgId);
    for (const auto& fragment : cmdu.fragments) {
        MetricResp resp;
        if (!parseArea(fragment, resp, kMetricRespTlvs, needsEnd(cmdu, fragment))) return kFailure;
    }
    return handleMetricRespMsg();
}

// A response or WSC message of another make has no AL MAC TLV. It is a unicast, so its source is a
// neighbor.
void findSender(const Received& msg, MacAddr& alMac) {
    if (alMac.isZero() && getStandardOption()) alMac = alMacOf(msg.hdr.srcMac);
}

// AP-autoconfiguration search, response and renew: AL MAC, role and band.
struct ApAutoConf {
    MacAddr alMac;
    uint8_t role = 0;
    uint8_t band = 0;
};
constexpr TlvRow<ApAutoConf> kApSearchTlvs[] = {
    {kTlvAlMac, into<&ApAutoConf::alMac, parseAlMacTlv>},
    {kTlvSearchRole, into<&ApAutoConf::role, parseSrchRoleTlv>},
    {kTlvAutoConfFreqBand, into<&ApAutoConf::band, parseAutoConfFreqBandTlv>},
};
constexpr TlvRow<ApAutoConf> kApRespTlvs[] = {
    {kTlvAlMac, into<&ApAutoConf::alMac, parseForeignAlMac>},
    {kTlvSupportedRole, into<&ApAutoConf::role, parseSupportedRoleTlv>},
    {kTlvSupportedFreqBand, into<&ApAutoConf::band, parseSupportedFreqBandTlv>},
};
constexpr TlvRow<ApAutoConf> kApRenewTlvs[] = {
    {kTlvAlMac, into<&ApAutoConf::alMac, parseAlMacTlv>},
    {kTlvSupportedRole, into<&ApAutoConf::role, parseSupportedRoleTlv>},
    {kTlvSupportedFreqBand, into<&ApAutoConf::band, parseSupportedFreqBandTlv>},
};

int parseApAutoConfSrch(const Received& msg) {
    ApAutoConf info;
    if (!parseArea(msg.area, info, kApSearchTlvs)) return kFailure;
    ApAutoConfSrch record{};
    info.alMac.copyTo(record.alMac);
    record.msgId = msg.hdr.msgId;
    record.searchedRole = info.role;
    record.freqBand = info.band;
    return handleOnce(msg, info.alMac, kMsgApAutoConfSrch, true,
                      [&] { return handleApAutoConfSrchMsg(record); });
}

ApAutoConfInfo supportedRecord(const Received& msg, const ApAutoConf& info) {
    ApAutoConfInfo record{};
    info.alMac.copyTo(record.alMac);
    record.msgId = msg.hdr.msgId;
    record.supportedRole = info.role;
    record.freqBand = info.band;
    return record;
}

int parseApAutoConfResp(const Received& msg) {
    ApAutoConf info;
    if (!parseArea(msg.area, info, kApRespTlvs)) return kFailure;
    findSender(msg, info.alMac);
    return handleApAutoConfRespMsg(supportedRecord(msg, info));
}

int parseApAutoConfRenew(const Received& msg) {
    ApAutoConf info;
    if (!parseArea(msg.area, info, kApRenewTlvs)) return kFailure;
    return handleOnce(msg, info.alMac, kMsgApAutoConfRenew, true,
                      [&] { return handleApAutoConfRenewMsg(supportedRecord(msg, info)); });
}

struct WscMsg {
    MacAddr alMac;
    Wsc wsc{};
};
size_t parseWscMsgUpdateTime(WscMsg& msg, Bytes tlv) {
    return parseWscUpdatetimeTlv(msg.wsc.updateTime, tlv);
}
constexpr TlvRow<WscMsg> kWscTlvs[] = {
    {kTlvAlMac, into<&WscMsg::alMac, parseForeignAlMac>},
    {kTlvWsc, into<&WscMsg::wsc, parseWscTlv>},
    {kTlvWscUpdateTime, parseWscMsgUpdateTime},
};

int parseApAutoConfWsc(const Received& msg) {
    WscMsg info;
    if (!parseArea(msg.area, info, kWscTlvs)) return kFailure;
    findSender(msg, info.alMac);
    ApAutoConfWsc record{};
    info.alMac.copyTo(record.alMac);
    msg.hdr.srcMac.copyTo(record.srcMac);
    record.frameLen = static_cast<uint16_t>(info.wsc.frame.size());
    record.frame = info.wsc.frame.data();
    snprintf(record.updateTime, sizeof record.updateTime, "%s", info.wsc.updateTime.c_str());
    return handleApAutoConfWscMsg(record);
}

struct PBEventMsg {
    MacAddr alMac;
    PBEventNtf event{};
};
constexpr TlvRow<PBEventMsg> kPBEventTlvs[] = {
    {kTlvAlMac, into<&PBEventMsg::alMac, parseAlMacTlv>},
    {kTlvPBEventNtf, into<&PBEventMsg::event, parsePBEventNtfTlv>},
};

int parsePBEventNtf(const Received& msg) {
    PBEventMsg info;
    if (!parseArea(msg.area, info, kPBEventTlvs)) return kFailure;
    std::vector<PbMediaType> mediaTypes;
    for (const auto& entry : info.event.mediaTypes) {
        mediaTypes.push_back(
            {entry.mediaType, static_cast<uint8_t>(entry.info.size()), entry.info.data()});
    }
    PbEvent record{};
    info.alMac.copyTo(record.alMac);
    record.msgId = msg.hdr.msgId;
    record.mediaTypeNum = static_cast<uint8_t>(mediaTypes.size());
    record.mediaTypes = mediaTypes.data();
    return handleOnce(msg, info.alMac, kMsgPBEventNtf, true,
                      [&] { return handlePBEventNtfMsg(record); });
}

struct PBJoinMsg {
    MacAddr alMac;
    PBJoinNtf join{};
};
constexpr TlvRow<PBJoinMsg> kPBJoinTlvs[] = {
    {kTlvAlMac, into<&PBJoinMsg::alMac, parseAlMacTlv>},
    {kTlvPBJoinNtf, into<&PBJoinMsg::join, parsePBJoinNtfTlv>},
};

int parsePBJoinNtf(const Received& msg) {
    PBJoinMsg info;
    if (!parseArea(msg.area, info, kPBJoinTlvs)) return kFailure;
    PbJoin record{};
    info.join.alMac.copyTo(record.alMac);
    record.msgId = info.join.msgId;
    info.join.txIntfMac.copyTo(record.txIntfMac);
    info.join.newDevIntfMac.copyTo(record.newDevIntfMac);
    return handleOnce(msg, info.alMac, kMsgPBJoinNtf, true,
                      [&] { return handlePBJoinNtfMsg(record); });
}

using Parser = int (*)(const Received&);

// By message type.
constexpr std::array<Parser, kMsgTypeNum> kParsers{
    parseTopolDisc,      parseTopolNtf,      parseTopolQuery,      parseTopolResp,
    parseVendSpec,       parseMetricQuery,   parseMetricResp,      parseApAutoConfSrch,
    parseApAutoConfResp, parseApAutoConfWsc, parseApAutoConfRenew, parsePBEventNtf,
    parsePBJoinNtf,
};

// True if the proof, or the type, lets a standard message pass. Vendor messages are decoded first.
bool mayPass(const FrameHdr& hdr, const Proof& proof) {
    if (proof.trust == Trust::kUnchecked || !needsProof(hdr.msgType)) return true;
    if (proof.trust == Trust::kFresh) return storeOrder(proof);
    if (proof.trust == Trust::kNone) {
        reportRefusal(hdr.srcMac, hdr.msgType, std::nullopt, proof.flaw);
    }
    return false;  // copies come by other ways through the mesh, too
}

// Finds out who sent a response. The AP-autoconfiguration search is a multicast, so it is
// registered under the own AL MAC.
Responder responderOf(uint16_t msgType, uint16_t msgId, const MacAddr& srcMac, int logLevel) {
    const MacAddr* own = getAlMac();
    const MacAddr& asked = msgType == kMsgApAutoConfResp && own != nullptr ? *own : srcMac;
    const Responder responder = checkMatchQueryRespPair(asked, msgType, msgId);
    if (responder == Responder::kNone) {
        LOG(logLevel,
            "this message (type = %d, ID = %d) doesn't match query(serach)/response pair\r\n",
            msgType, msgId);
    }
    return responder;
}

}  // namespace

int checkMcastMsgReceived(const MacAddr& alMac, uint16_t msgType, uint16_t msgId) {
    if (lookupGenRecvMsg(alMac, msgType, msgId)) {
        LOG(3,
            "the message (AL MAC = " MAC_FMT
            ", msgType = %d, msgId = %d) has generated/received\r\n",
            MAC_ARGS(alMac), msgType, msgId);
        return kDuplicate;
    }
    registerGenRecvMsg(alMac, msgType, msgId);
    return kOk;
}

int relayUnread(const Port& port, const FrameHdr& hdr, Bytes area) {
    LOG(4, "message (type = %d, id = %d) is skipped\r\n", hdr.msgType, hdr.msgId);
    if (hdr.dstMac != k1905Multicast || !hdr.relay) return kOk;
    if (!mayWork(hdr.srcMac, Work::kMessage)) return kDuplicate;
    // Fragments and vendor messages need not name their sender; copies have the same content.
    const std::string_view content(reinterpret_cast<const char*>(area.data()), area.size());
    MacAddr key;
    uint64_t hash = std::hash<std::string_view>{}(content);
    for (auto& byte : key.b) {
        byte = static_cast<uint8_t>(hash);
        hash >>= 8;
    }
    if (const int seen = checkMcastMsgReceived(key, hdr.msgType, hdr.msgId); seen != kOk) {
        return seen;
    }
    if (mayRelay(key, port)) (void)requestRelayMcastMsg(port);
    return kOk;
}

int parseLldpMsg(const Port& port, Bytes area) {
    MacAddr alMac;
    MacAddr intfMac;
    uint16_t ttl = 0;
    const auto take = [&](auto& value, auto parse) {
        const size_t size = parse(value, area);
        area = area.subspan(size);
        return size != 0;
    };
    if (!take(alMac, parseChassisIdTlv) || !take(intfMac, parsePortIdTlv) ||
        !take(ttl, parseTtlTlv)) {
        return kFailure;
    }
    ByteReader others(area);
    for (uint16_t tlv = others.u16(); tlv != 0; tlv = others.u16()) others.skip(tlv & 0x1FF);
    if (!others.ok()) {
        LOG_PUTS(2, "LLDP frame without an end\r");
        return kFailure;
    }
    if (ttl == 0) return kOk;  // its sender leaves, and will age out
    return handleLldpDiscMsg(port.name, port.mac, port.mediaType, alMac, intfMac, ttl);
}

int parse1905Msg(Port& port, const FrameHdr& hdr, Bytes area) {
    LOG(4, "macSa = " MAC_FMT ", msgType = %d, msgId = %d\r\n", MAC_ARGS(hdr.srcMac), hdr.msgType,
        hdr.msgId);
    if (hdr.msgType >= kMsgTypeNum) {
        LOG(4, "message type (%d) is unsupported\r\n", hdr.msgType);
        return kFailure;
    }
    const bool isResponse = hdr.msgType == kMsgTopolResp || hdr.msgType == kMsgMetricResp ||
                            hdr.msgType == kMsgApAutoConfResp;
    // A discovery of a known neighbor makes no work.
    bool isFree = hdr.msgType == kMsgTopolDisc;
    if (isResponse) {
        const Responder responder = responderOf(hdr.msgType, hdr.msgId, hdr.srcMac, 2);
        if (responder == Responder::kNone) return kFailure;
        isFree = responder == Responder::kAsked;
    }
    const Proof proof = checkIntegrity(hdr, {&area, 1});
    isFree = isFree || proof.trust == Trust::kFresh;
    if (!isFree && !mayWork(hdr.srcMac, Work::kMessage)) return kDuplicate;
    if (!mayPass(hdr, proof)) return kDuplicate;
    const int result = kParsers[hdr.msgType]({port, hdr, area, proof});
    if (result == kFailure) LOG(2, "failed to parse message (type =%d)\r\n", hdr.msgType);
    return result;
}

int parse1905FragMsg(Port& port, const FrameHdr& hdr, const FragCmdu& cmdu) {
    if (cmdu.msgType >= kMsgTypeNum) {
        LOG(4, "message type (%d) isn't supported\r\n", cmdu.msgType);
        return kFailure;
    }
    if (cmdu.msgType != kMsgTopolResp && cmdu.msgType != kMsgMetricResp) {
        LOG(2, "unimplemented: message type (%d)\r\n", cmdu.msgType);
        return kFailure;
    }
    const Responder responder = responderOf(cmdu.msgType, cmdu.msgId, cmdu.srcMac, 3);
    if (responder == Responder::kNone) return kOk;
    // Both types need no proof; a right one only shows that the sender has the key.
    const Proof proof =
        checkIntegrity(hdr, std::vector<Bytes>(cmdu.fragments.begin(), cmdu.fragments.end()));
    const auto frames = static_cast<unsigned>(cmdu.fragments.size());
    const unsigned counted = responder == Responder::kAsked ? frames - 1 : frames;
    if (proof.trust != Trust::kFresh && !mayWork(cmdu.srcMac, Work::kMessage, counted)) {
        return kDuplicate;
    }
    return cmdu.msgType == kMsgTopolResp ? parseTopolRespFragTlvs(port, cmdu)
                                         : parseMetricRespFragTlvs(cmdu);
}
