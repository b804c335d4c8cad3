// One parser per message type: walks the TLVs, checks for loops and duplicates, calls the handler
// and relays.
#include <cstdio>

#include "base/log.h"
#include "base/result.h"
#include "daemon/receiver.h"
#include "db/database.h"
#include "handlers/standard_handlers.h"
#include "handlers/vend_dispatch.h"
#include "net/transmitter.h"
#include "wire/standard_tlv.h"

namespace {

struct Received {
    Port& port;
    const FrameHdr& hdr;
    Bytes area;
};

// Walks an area up to its end-of-message TLV. parse takes the TLV type and the bytes from its
// header on and returns the bytes consumed, 0 to reject; other types are for parseUnsupportedTlv.
template <typename Parse>
bool walkArea(Bytes area, Parse&& parse) {
    return walkTlvs(area, [&](Bytes tlv) { return parse(tlv[0], tlv); }) &&
           parseEndOfMsgTlv(area) == kOk;
}

// A message of this device's own, come back.
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

// Handles a multicast unless it was seen before. relay is for the types that are relayed.
template <typename Handle>
int handleOnce(const Received& msg, const MacAddr& alMac, uint16_t seenAs, bool relay,
               Handle&& handle) {
    bool mayRelay = true;
    if (const int seen = checkMcastMsgReceived(alMac, seenAs, msg.hdr.msgId, mayRelay);
        seen != kOk) {
        return seen;
    }
    const int result = handle();
    // Meant: a message is relayed whatever its handler answered.
    if (relay && mayRelay) (void)requestRelayMcastMsg(msg.port);
    return result;
}

// What topology discovery and notification carry.
struct TopolAnnouncement {
    MacAddr alMac;
    MacAddr intfMac;
};

bool parseTopolAnnouncement(const Received& msg, TopolAnnouncement& info) {
    info.intfMac = msg.hdr.srcMac;
    return walkArea(msg.area,
                    [&](uint8_t type, Bytes tlv) {
                        switch (type) {
                            case kTlvAlMac:
                                return parseForeignAlMac(info.alMac, tlv);
                            case kTlvMac:
                                return parseMacTlv(info.intfMac, tlv);
                            default:
                                return parseUnsupportedTlv(tlv);
                        }
                    }) &&
           !info.alMac.isZero();
}

int parseTopolDisc(const Received& msg) {
    TopolAnnouncement info;
    if (!parseTopolAnnouncement(msg, info)) return kFailure;
    return handleOnce(msg, info.alMac, kMsgTopolDisc, false, [&] {
        return handleTopolDiscMsg(msg.port.name, msg.port.mac, msg.port.mediaType, msg.hdr.srcMac,
                                  info.alMac, info.intfMac);
    });
}

int parseTopolNtf(const Received& msg) {
    TopolAnnouncement info;
    if (!parseTopolAnnouncement(msg, info)) return kFailure;
    // Meant: notifications are remembered as discoveries are.
    return handleOnce(msg, info.alMac, kMsgTopolDisc, true, [&] {
        return handleTopolNtfMsg(msg.port.name, msg.port.mac, msg.port.mediaType, msg.hdr.srcMac,
                                 info.alMac);
    });
}

int parseTopolQuery(const Received& msg) {
    MacAddr alMac;
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            return type == kTlvAlMac ? parseForeignAlMac(alMac, tlv) : parseUnsupportedTlv(tlv);
        })) {
        return kFailure;
    }
    return handleTopolQueryMsg(msg.port, msg.hdr.srcMac, msg.hdr.msgId);
}

// Adds the TLVs of one area of a topology response to the record.
bool parseTopolRespArea(const Port& port, Bytes area, DevTopol& dev) {
    return walkArea(area, [&](uint8_t type, Bytes tlv) {
        switch (type) {
            case kTlvAlMac:
                return parseForeignAlMac(dev.alMac, tlv);
            case kTlvDevInfo:
                return parseDevInfoTlv(dev, port.ifIndex, tlv);
            case kTlvDevBrdgCap:
                return parseDevBrdgCapTlv(dev, tlv);
            case kTlvNon1905Nbr:
                return parseNon1905NbrDevTlv(dev, tlv);
            case kTlv1905Nbr:
                return parse1905NbrDevTlv(dev, tlv);
            default:
                return parseUnsupportedTlv(tlv);
        }
    });
}

int finishTopolResp(const Port& port, const MacAddr& srcMac, DevTopol&& dev) {
    if (dev.alMac.isZero()) {
        LOG_PUTS(2, "topology response without AL MAC\r");
        return kFailure;
    }
    if (isLoop(dev.alMac)) return kFailure;
    return handleTopolRespMsg(port.mac, port.mediaType, srcMac, std::move(dev));
}

int parseTopolResp(const Received& msg) {
    DevTopol dev;
    if (!parseTopolRespArea(msg.port, msg.area, dev)) return kFailure;
    return finishTopolResp(msg.port, msg.hdr.srcMac, std::move(dev));
}

int parseTopolRespFragTlvs(const Port& port, const FragCmdu& cmdu) {
    LOG(4, "fragemented CMDU message (type = %d, id = %d)\r\n", cmdu.msgType, cmdu.msgId);
    DevTopol dev;
    for (const auto& fragment : cmdu.fragments) {
        if (!parseTopolRespArea(port, fragment, dev)) return kFailure;
    }
    return finishTopolResp(port, cmdu.srcMac, std::move(dev));
}

int parseVendSpec(const Received& msg) {
    return parseVendSpecTlvs(msg.port, msg.hdr.srcMac, msg.hdr.msgId, msg.area);
}

int parseMetricQuery(const Received& msg) {
    MetricQuery query;
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            return type == kTlvMetricQuery ? parseMetricQueryTlv(query, tlv)
                                           : parseUnsupportedTlv(tlv);
        })) {
        return kFailure;
    }
    return handleMetricQueryMsg(msg.port, msg.hdr.srcMac, msg.hdr.msgId, query);
}

bool parseMetricRespArea(Bytes area) {
    LinkMetricInfo info;
    uint8_t code = 0;
    return walkArea(area, [&](uint8_t type, Bytes tlv) {
        switch (type) {
            case kTlvTxMetric:
                return parseTxMetricTlv(info, tlv);
            case kTlvRxMetric:
                return parseRxMetricTlv(info, tlv);
            case kTlvMetricResCode:
                return parseMetricResCodeTlv(code, tlv);
            default:
                return parseUnsupportedTlv(tlv);
        }
    });
}

int parseMetricResp(const Received& msg) {
    return parseMetricRespArea(msg.area) ? handleMetricRespMsg() : kFailure;
}

int parseMetricRespFragTlvs(const FragCmdu& cmdu) {
    LOG(4, "fragemented CMDU message (type = %d, id = %d)\r\n", cmdu.msgType, cmdu.msgId);
    for (const auto& fragment : cmdu.fragments) {
        if (!parseMetricRespArea(fragment)) return kFailure;
    }
    return handleMetricRespMsg();
}

int parseApAutoConfSrch(const Received& msg) {
    MacAddr alMac;
    ApAutoConfSrch srch{};
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            switch (type) {
                case kTlvAlMac:
                    return parseAlMacTlv(alMac, tlv);
                case kTlvSearchRole:
                    return parseSrchRoleTlv(srch.searchedRole, tlv);
                case kTlvAutoConfFreqBand:
                    return parseAutoConfFreqBandTlv(srch.freqBand, tlv);
                default:
                    return parseUnsupportedTlv(tlv);
            }
        })) {
        return kFailure;
    }
    alMac.copyTo(srch.alMac);
    srch.msgId = msg.hdr.msgId;
    return handleOnce(msg, alMac, kMsgApAutoConfSrch, true,
                      [&] { return handleApAutoConfSrchMsg(srch); });
}

// Response and renew: AL MAC, supported role and band.
bool parseApAutoConfInfo(const Received& msg, bool foreignOnly, MacAddr& alMac,
                         ApAutoConfInfo& info) {
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            switch (type) {
                case kTlvAlMac:
                    return foreignOnly ? parseForeignAlMac(alMac, tlv) : parseAlMacTlv(alMac, tlv);
                case kTlvSupportedRole:
                    return parseSupportedRoleTlv(info.supportedRole, tlv);
                case kTlvSupportedFreqBand:
                    return parseSupportedFreqBandTlv(info.freqBand, tlv);
                default:
                    return parseUnsupportedTlv(tlv);
            }
        })) {
        return false;
    }
    alMac.copyTo(info.alMac);
    info.msgId = msg.hdr.msgId;
    return true;
}

int parseApAutoConfResp(const Received& msg) {
    MacAddr alMac;
    ApAutoConfInfo info{};
    if (!parseApAutoConfInfo(msg, true, alMac, info)) return kFailure;
    return handleApAutoConfRespMsg(info);
}

int parseApAutoConfRenew(const Received& msg) {
    MacAddr alMac;
    ApAutoConfInfo info{};
    if (!parseApAutoConfInfo(msg, false, alMac, info)) return kFailure;
    return handleOnce(msg, alMac, kMsgApAutoConfRenew, true,
                      [&] { return handleApAutoConfRenewMsg(info); });
}

int parseApAutoConfWsc(const Received& msg) {
    MacAddr alMac;
    Wsc wsc;
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            switch (type) {
                case kTlvAlMac:
                    return parseForeignAlMac(alMac, tlv);
                case kTlvWsc:
                    return parseWscTlv(wsc, tlv);
                case kTlvWscUpdateTime:
                    return parseWscUpdatetimeTlv(wsc.updateTime, tlv);
                default:
                    return parseUnsupportedTlv(tlv);
            }
        })) {
        return kFailure;
    }
    ApAutoConfWsc record{};
    alMac.copyTo(record.alMac);
    msg.hdr.srcMac.copyTo(record.srcMac);
    record.frameLen = static_cast<uint16_t>(wsc.frame.size());
    record.frame = wsc.frame.data();
    snprintf(record.updateTime, sizeof record.updateTime, "%s", wsc.updateTime.c_str());
    return handleApAutoConfWscMsg(record);
}

int parsePBEventNtf(const Received& msg) {
    MacAddr alMac;
    PBEventNtf event;
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            switch (type) {
                case kTlvAlMac:
                    return parseAlMacTlv(alMac, tlv);
                case kTlvPBEventNtf:
                    return parsePBEventNtfTlv(event, tlv);
                default:
                    return parseUnsupportedTlv(tlv);
            }
        })) {
        return kFailure;
    }
    std::vector<PbMediaType> mediaTypes;
    for (const auto& entry : event.mediaTypes) {
        mediaTypes.push_back(
            {entry.mediaType, static_cast<uint8_t>(entry.info.size()), entry.info.data()});
    }
    PbEvent record{};
    alMac.copyTo(record.alMac);
    record.msgId = msg.hdr.msgId;
    record.mediaTypeNum = static_cast<uint8_t>(mediaTypes.size());
    record.mediaTypes = mediaTypes.data();
    return handleOnce(msg, alMac, kMsgPBEventNtf, true,
                      [&] { return handlePBEventNtfMsg(record); });
}

int parsePBJoinNtf(const Received& msg) {
    MacAddr alMac;
    PBJoinNtf join;
    if (!walkArea(msg.area, [&](uint8_t type, Bytes tlv) {
            switch (type) {
                case kTlvAlMac:
                    return parseAlMacTlv(alMac, tlv);
                case kTlvPBJoinNtf:
                    return parsePBJoinNtfTlv(join, tlv);
                default:
                    return parseUnsupportedTlv(tlv);
            }
        })) {
        return kFailure;
    }
    PbJoin record{};
    join.alMac.copyTo(record.alMac);
    record.msgId = join.msgId;
    join.txIntfMac.copyTo(record.txIntfMac);
    join.newDevIntfMac.copyTo(record.newDevIntfMac);
    return handleOnce(msg, alMac, kMsgPBJoinNtf, true, [&] { return handlePBJoinNtfMsg(record); });
}

using Parser = int (*)(const Received&);

// By message type.
constexpr std::array<Parser, kMsgTypeNum> kParsers{
    parseTopolDisc,      parseTopolNtf,      parseTopolQuery,      parseTopolResp,
    parseVendSpec,       parseMetricQuery,   parseMetricResp,      parseApAutoConfSrch,
    parseApAutoConfResp, parseApAutoConfWsc, parseApAutoConfRenew, parsePBEventNtf,
    parsePBJoinNtf,
};

// Whether a response answers a query of ours. The AP-autoconfiguration search went out by
// multicast and stands under the own AL MAC.
bool answersQuery(uint16_t msgType, uint16_t msgId, const MacAddr& srcMac, int logLevel) {
    const MacAddr* own = getAlMac();
    const MacAddr& asked = msgType == kMsgApAutoConfResp && own != nullptr ? *own : srcMac;
    if (checkMatchQueryRespPair(asked, msgType, msgId) == 1) return true;
    LOG(logLevel, "this message (type = %d, ID = %d) doesn't match query(serach)/response pair\r\n",
        msgType, msgId);
    return false;
}

}  // namespace

int parse1905Msg(Port& port, const FrameHdr& hdr, Bytes area) {
    LOG(4, "macSa = " MAC_FMT ", msgType = %d, msgId = %d\r\n", MAC_ARGS(hdr.srcMac), hdr.msgType,
        hdr.msgId);
    if (hdr.msgType >= kMsgTypeNum) {
        LOG(4, "message type (%d) is unsupported\r\n", hdr.msgType);
        return kFailure;
    }
    const bool isResponse = hdr.msgType == kMsgTopolResp || hdr.msgType == kMsgMetricResp ||
                            hdr.msgType == kMsgApAutoConfResp;
    if (isResponse && !answersQuery(hdr.msgType, hdr.msgId, hdr.srcMac, 2)) return kFailure;
    const int result = kParsers[hdr.msgType]({port, hdr, area});
    if (result == kFailure) LOG(2, "failed to parse message (type =%d)\r\n", hdr.msgType);
    return result;
}

int parse1905FragMsg(Port& port, const FragCmdu& cmdu) {
    if (cmdu.msgType >= kMsgTypeNum) {
        LOG(4, "message type (%d) isn't supported\r\n", cmdu.msgType);
        return kFailure;
    }
    if (cmdu.msgType != kMsgTopolResp && cmdu.msgType != kMsgMetricResp) {
        LOG(2, "unimplemented: message type (%d)\r\n", cmdu.msgType);
        return kFailure;
    }
    if (!answersQuery(cmdu.msgType, cmdu.msgId, cmdu.srcMac, 3)) return kOk;
    return cmdu.msgType == kMsgTopolResp ? parseTopolRespFragTlvs(port, cmdu)
                                         : parseMetricRespFragTlvs(cmdu);
}
