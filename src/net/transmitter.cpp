#include "net/transmitter.h"

#include <algorithm>
#include <utility>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "net/message_integrity.h"
#include "platform/descriptions.h"
#include "wire/frame.h"

namespace {

constexpr size_t kFrameBudget = 1498;  // every frame is shorter than this
constexpr size_t kEndOfMsgLen = 3;
constexpr Seconds kGenRecvLifetime = 5;
constexpr uint16_t kMsgIdModulus = 65535;  // meant: 65535 itself is never used

TransmitterState& module() {
    return stateOf<TransmitterState>();
}

// Marks the identifier as used: stores it in *used and moves to the next one.
void takeMsgId(uint16_t* used) {
    if (used != nullptr) *used = module().msgId;
    module().msgId = static_cast<uint16_t>((module().msgId + 1) % kMsgIdModulus);
}

// The version of the header of a message to this address, which is nullptr for a multicast. In
// standard mode a device gets the version that it uses.
uint8_t versionFor(const MacAddr* dstMac) {
    if (!getStandardOption()) return kCmduVersion;
    if (dstMac == nullptr) return kStandardVersion;
    if (module().senderMac == *dstMac) return module().senderVersion;
    const NbrDev* dev = findNbrDev(alMacOf(*dstMac));
    return dev != nullptr ? dev->version : kStandardVersion;
}

// A message that leaves by a port.
struct Outgoing {
    Port& port;
    const MacAddr* dstMac;  // nullptr for a multicast
    uint16_t msgType;
    uint16_t msgId;
    bool relay;
    uint64_t counter;  // of the integrity TLV
    uint8_t version = versionFor(dstMac);
};

// Fills in the headers in the transmit buffer, adds the end-of-message TLV behind the first length
// bytes, and sends them. With version 0 only the last fragment has that TLV, and the padding is
// left to the network card, because decoders take more zeros for a fault.
int sendFragment(const Outgoing& out, uint8_t fragId, bool last, size_t length) {
    FrameBuffer& tx = getTxBuffer();
    const std::span<uint8_t> frame(tx.frame);
    const bool isStandard = out.version == kStandardVersion;
    const size_t endLen = last || !isStandard ? kEndOfMsgLen : 0;
    tx.length =
        static_cast<uint32_t>(std::max(length + endLen, isStandard ? size_t{0} : kMinFrameLen));
    std::ranges::fill(frame.subspan(length, tx.length - length), uint8_t{0});
    if (gen1905CmduHdr(out.msgType, out.msgId, fragId, last ? 1 : 0, out.relay ? 1 : 0,
                       frame.subspan(kEtherHdrLen), out.version) != kOk) {
        LOG_PUTS(1, "failed to generate the CMDU header\r");
        return kFailure;
    }
    if ((out.dstMac != nullptr ? gen1905UcastEtherHdr(out.port.mac, *out.dstMac, frame)
                               : gen1905McastEtherHdr(out.port.mac, frame)) != kOk) {
        LOG_PUTS(1, "failed to generate the ethernet header\r");
        return kFailure;
    }
    const ssize_t sent = sendFrame(out.port, out.port.ieee1905Sock, tx);
    if (sent <= 0) {
        if (!out.port.isDown) {
            LOG(1, "failed to send message (type = %d, id = %d)\r\n", out.msgType, out.msgId);
        }
        return kFailure;
    }
    if (out.dstMac != nullptr) {
        LOG(3,
            "send message (port = %s, macDa (" MAC_FMT
            "), type = %d, id = %d) successfully (size = %d/%d)\r\n",
            out.port.name.c_str(), MAC_ARGS(*out.dstMac), out.msgType, out.msgId,
            static_cast<int>(sent), static_cast<int>(tx.length));
    } else {
        LOG(3, "send message (port = %s, type = %d, id = %d) successfully (size = %d/%d)\r\n",
            out.port.name.c_str(), out.msgType, out.msgId, static_cast<int>(sent),
            static_cast<int>(tx.length));
    }
    return kOk;
}

// Sends these TLVs in fragments. A TLV is never split.
int sendFragments(const Outgoing& out, Bytes tlvs) {
    uint8_t fragId = 0;
    do {
        size_t size = 0;
        for (size_t next = 0;; size += next) {
            const Bytes rest = tlvs.subspan(size);
            if (rest.empty()) break;
            next = flatSize1905(rest);
            if (size > 0 && kHeadersLen + size + next + kEndOfMsgLen >= kFrameBudget) break;
            if (next == 0 || next > kMaxSentTlvSize) {
                LOG(1, "failed to send message size = (%d) > 1400 \r\n", static_cast<int>(next));
                return kFailure;
            }
        }
        FrameBuffer& tx = getTxBuffer();
        std::copy_n(tlvs.begin(), size, tx.frame.begin() + kHeadersLen);
        tlvs = tlvs.subspan(size);
        if (const int result = sendFragment(out, fragId++, tlvs.empty(), kHeadersLen + size);
            result != kOk) {
            return result;
        }
    } while (!tlvs.empty());
    return kOk;
}

// Sends a message, which is signed for this destination if there is a key.
int sendMessage(const Outgoing& out, TlvArea& tlvs) {
    FrameHdr hdr;
    hdr.dstMac = out.dstMac != nullptr ? *out.dstMac : k1905Multicast;
    hdr.version = out.version;
    hdr.msgType = out.msgType;
    hdr.msgId = out.msgId;
    const size_t unsignedSize = tlvs.size();
    if (!signMessage(hdr, out.counter, tlvs)) return kFailure;
    const int result = sendFragments(out, tlvs.bytes());
    tlvs.cut(unsignedSize);
    return result;
}

IntfTable* intfOf(const Port& port) {
    return getIntfTableOf(port.name, port.mac, port.mediaType);
}

// The TLVs of a message: built for each port if they differ from port to port, else once.
class Message {
  public:
    Message(uint16_t msgType, const MsgBody& body)
        : msgType_(msgType), body_(body), perPort_(isBuiltPerPort(msgType, body)) {
        if (!perPort_) build({});
    }
    ~Message() { std::swap(module().spareTlvs, tlvs_); }
    Message(const Message&) = delete;
    Message& operator=(const Message&) = delete;

    // True if the message could not be built the last time. Only a topology query may be empty.
    bool failed() const { return failed_; }
    const MsgTraits& traits() const { return traits_; }
    uint64_t counter() const { return counter_; }
    TlvArea& forPort(const Port& port) {
        if (perPort_) build(port);
        return tlvs_;
    }

  private:
    void build(const Port& port) {
        gen1905Msg(port, msgType_, body_, tlvs_, traits_);
        failed_ = tlvs_.empty() && msgType_ != kMsgTopolQuery;
        if (failed_) LOG(2, "failed to generate IEEE 1905.1 message (msgType = %d)\r\n", msgType_);
    }

    uint16_t msgType_;
    const MsgBody& body_;
    bool perPort_;
    uint64_t counter_ = takeMessageCounter();
    bool failed_ = false;
    TlvArea tlvs_ = std::exchange(module().spareTlvs, {});
    MsgTraits traits_;
};

// The result of a unicast over all ports.
struct Outcome {
    bool built = true;
    bool left = false;  // by at least one port
};

void sendOn(Port& port, const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
            MessageMemory* queries, TlvArea& tlvs, uint64_t counter, Outcome& outcome) {
    if (send1905UcastMsg(port, dstMac, msgType, msgId, queries, tlvs, counter) == kOk) {
        outcome.left = true;
    } else if (!port.isDown) {
        LOG(2, "failed to send message (port = %s, msgType = %d, msgId = %d)\r\n",
            port.name.c_str(), msgType, msgId);
    }
}

// Types 0 and 1 name the port by which they leave and go to dstMac by every port.
Outcome sendByEveryPort(const MacAddr& dstMac, uint16_t msgType, const MsgBody& body) {
    const PortsInUse guard;
    Message message(msgType, body);
    Outcome outcome;
    for (auto& port : getIntfPorts()) {
        if (intfOf(port) == nullptr) continue;
        TlvArea& tlvs = message.forPort(port);
        if (message.failed()) return {.built = false, .left = outcome.left};
        if (!portIsUsable(port)) continue;
        sendOn(port, dstMac, msgType, module().msgId, nullptr, tlvs, message.counter(), outcome);
    }
    return outcome;
}

bool isHeardAlMac(const IntfTable& intf, const MacAddr& mac) {
    return std::ranges::any_of(
        intf.nbrs, [&](const IntfNbrDev& nbr) { return nbr.nbrAlMac == mac && !mac.isZero(); });
}

// Sends to every interface of the device by the port on which it was heard. A device may use its AL
// MAC on its own bridge, too; a bridge here then reports it like an interface MAC, in an entry
// without an AL MAC. That entry is skipped if the device is heard on the same port, as it is not
// another interface of the device.
// A query is stored in queries, which is nullptr for a response.
Outcome sendToNeighbor(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId, const MsgBody& body,
                       MessageMemory* queries) {
    const PortsInUse guard;
    Message message(msgType, body);
    Outcome outcome{.built = !message.failed()};
    if (message.failed()) return outcome;
    for (auto& port : getIntfPorts()) {
        const IntfTable* intf = intfOf(port);
        if (intf == nullptr) continue;
        TlvArea& tlvs = message.forPort(port);
        if (message.failed()) return {.built = false, .left = outcome.left};
        for (const auto& nbr : intf->nbrs) {
            if (!nbr.isNamedBy(dstMac) || !portIsUsable(port)) continue;
            if (nbr.nbrAlMac.isZero() && isHeardAlMac(*intf, dstMac)) continue;
            sendOn(port, nbr.nbrIntfMac, msgType, msgId,
                   message.traits().expectsResponse ? queries : nullptr, tlvs, message.counter(),
                   outcome);
        }
    }
    return outcome;
}

int reportUnsent(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId) {
    LOG(2, "failed to send message (macDa = " MAC_FMT ", msgType = %x, msgId = %d)\r\n",
        MAC_ARGS(dstMac), msgType, msgId);
    return kFailure;
}

// Ends the sending of a message under a new identifier.
int finish(const Outcome& outcome, const MacAddr& dstMac, uint16_t msgType, uint16_t* msgId) {
    if (!outcome.built) return kFailure;
    if (!outcome.left) return reportUnsent(dstMac, msgType, module().msgId);
    takeMsgId(msgId);
    return kOk;
}

int storeQuery(MessageMemory& queries, const MacAddr& dstMac, uint16_t msgType, uint16_t msgId) {
    if (getAlTable() == nullptr) return kFailure;
    const MacAddr alMac = alMacOf(dstMac);
    LOG(4, "alMac = " MAC_FMT ", macDa = " MAC_FMT ", type = %d, id = %d\r\n", MAC_ARGS(alMac),
        MAC_ARGS(dstMac), msgType, msgId);
    queries.store(alMac, msgType, msgId);
    return kOk;
}

// The registered query for which matches(query) is true, nullptr if there is none.
template <typename Matches>
MessageMemory::Entry* findQuery(uint16_t respType, uint16_t respId, Matches matches) {
    for (MessageMemory* queries : {&module().queriedMsgs, &module().followUps}) {
        auto* const found = queries->find([&](const auto& query) {
            return query.msgType + 1 == respType && query.msgId == respId && matches(query);
        });
        if (found != nullptr) return found;
    }
    return nullptr;
}

}  // namespace

int initMessageTransmitter() {
    module().genRecvMsgs.clear();
    module().queriedMsgs.clear();
    module().followUps.clear();
    return kOk;
}

void noteSender(const MacAddr& srcMac, uint8_t version) {
    module().senderMac = srcMac;
    module().senderVersion = version;
}

int requestSend1905UcastMsg(const MacAddr& dstMac, uint16_t msgType, const MsgBody& body,
                            uint16_t* msgId) {
    Outcome outcome;
    if (msgType >= kMsgTypeNum) {
        LOG(4, "message type (%de) isn't supported\r\n", msgType);
    } else if (msgType == kMsgTopolDisc || msgType == kMsgTopolNtf) {
        outcome = sendByEveryPort(dstMac, msgType, body);
    } else {
        outcome = sendToNeighbor(dstMac, msgType, module().msgId, body, &module().queriedMsgs);
    }
    return finish(outcome, dstMac, msgType, msgId);
}

int requestSendFollowUpQuery(const MacAddr& srcMac) {
    const Outcome outcome =
        sendToNeighbor(srcMac, kMsgTopolQuery, module().msgId, {}, &module().followUps);
    return finish(outcome, srcMac, kMsgTopolQuery, nullptr);
}

int requestSend1905UcastRespMsg(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
                                const MsgBody& body) {
    if (msgType >= kMsgTypeNum) {
        LOG(4, "message type (%de) isn't supported\r\n", msgType);
        return reportUnsent(dstMac, msgType, msgId);
    }
    const Outcome outcome = sendToNeighbor(dstMac, msgType, msgId, body, nullptr);
    if (!outcome.built) return kFailure;
    return outcome.left ? kOk : reportUnsent(dstMac, msgType, msgId);
}

int requestSend1905McastMsg(uint16_t msgType, const MsgBody& body, uint16_t* msgId) {
    const PortsInUse guard;
    const bool ownIdPerPort = msgType == kMsgTopolDisc;
    Message message(msgType, body);
    if (message.failed()) return kFailure;
    for (auto& port : getIntfPorts()) {
        if (refreshIntfPort(port) != kOk) continue;
        if (checkIntfIsBrdg(port.name) == 0 || getDeviceSendMsgEnable(port.name.c_str()) != 0) {
            LOG(4, "Do not used port->name = %s send McastMsg\r\n", port.name.c_str());
            continue;
        }
        if (port.isDown) continue;
        TlvArea& tlvs = message.forPort(port);
        if (message.failed()) {
            if (msgType == kMsgTopolDisc || msgType == kMsgTopolNtf) continue;
            return kFailure;
        }
        if (send1905McastMsg(port, msgType, module().msgId, message.traits().relay,
                             message.traits().expectsResponse ? &module().queriedMsgs : nullptr,
                             tlvs, message.counter()) == kOk) {
            if (ownIdPerPort) takeMsgId(msgId);
        } else if (!port.isDown) {
            LOG(2, "failed to send message (type = %d, id = %d) from port (%s)\r\n", msgType,
                module().msgId, port.name.c_str());
        }
    }
    if (!ownIdPerPort) takeMsgId(msgId);
    return kOk;
}

int requestRelayMcastMsg(const Port& incoming) {
    const PortsInUse guard;
    FrameBuffer& rx = getRxBuffer();
    for (auto& port : getIntfPorts()) {
        if (port.ieee1905Sock.get() == incoming.ieee1905Sock.get()) continue;
        if (refreshIntfPort(port) != kOk || port.isDown) continue;
        port.mac.copyTo(rx.frame.data() + kSrcMacOffset);
        if (sendFrame(port, port.ieee1905Sock, rx) <= 0) {
            if (port.isDown) continue;
            LOG(1, "failed to relay IEEE 1905.1 multicast message from port (%s)\r\n",
                port.name.c_str());
            return kFailure;
        }
        LOG(4, "relay IEEE 1905.1 multicast message from port (%s) successfully\r\n",
            port.name.c_str());
    }
    return kOk;
}

int requestSendLldpMsg() {
    const PortsInUse guard;
    FrameBuffer& tx = getTxBuffer();
    TlvArea tlvs;
    for (auto& port : getIntfPorts()) {
        if (refreshIntfPort(port) != kOk || port.isDown) continue;
        tlvs.clear();
        if (!genLldpMsg(port, tlvs) || genLldpEtherHdr(port.mac, tx.frame) != kOk) {
            LOG_PUTS(1, "failed to generate LLDP message\r");
            return kFailure;
        }
        tx.length = static_cast<uint32_t>(std::max(kEtherHdrLen + tlvs.size(), kMinFrameLen));
        std::fill_n(tx.frame.begin() + kEtherHdrLen, kMinFrameLen, uint8_t{0});
        std::ranges::copy(tlvs.bytes(), tx.frame.begin() + kEtherHdrLen);
        if (sendFrame(port, port.lldpSock, tx) <= 0) {
            if (!port.isDown) {
                LOG(1, "failed to send LLDP message (port = %s)\r\n", port.name.c_str());
            }
            continue;
        }
        LOG(3, "send LLDP message successfully (port = %s, size = %d)\r\n", port.name.c_str(),
            static_cast<int>(tx.length));
    }
    return kOk;
}

int send1905UcastMsg(Port& port, const MacAddr& dstMac, uint16_t msgType, uint16_t msgId,
                     MessageMemory* queries, TlvArea& tlvs, uint64_t counter) {
    LOG(4, "port = %s, macDa (" MAC_FMT "), message (type = %d, id = %d)\r\n", port.name.c_str(),
        MAC_ARGS(dstMac), msgType, msgId);
    if (tlvs.empty() && msgType != kMsgTopolQuery) return kFailure;
    if (const int result = sendMessage({port, &dstMac, msgType, msgId, false, counter}, tlvs);
        result != kOk) {
        return result;
    }
    if (queries != nullptr) (void)storeQuery(*queries, dstMac, msgType, msgId);
    return kOk;
}

int send1905McastMsg(Port& port, uint16_t msgType, uint16_t msgId, bool relay,
                     MessageMemory* queries, TlvArea& tlvs, uint64_t counter) {
    LOG(4, "port = %s, message (type = %d, id = %d)\r\n", port.name.c_str(), msgType, msgId);
    if (tlvs.empty() || getAlMac() == nullptr) return kFailure;
    if (const int result = sendMessage({port, nullptr, msgType, msgId, relay, counter}, tlvs);
        result != kOk) {
        return result;
    }
    // To recognize it if a neighbor relays it back.
    registerGenRecvMsg(*getAlMac(), msgType, msgId);
    if (queries != nullptr) (void)storeQuery(*queries, *getAlMac(), msgType, msgId);
    return kOk;
}

void registerGenRecvMsg(const MacAddr& alMac, uint16_t msgType, uint16_t msgId) {
    LOG(4, "alMac = " MAC_FMT ", msgType = %d, msgId = %d\r\n", MAC_ARGS(alMac), msgType, msgId);
    module().genRecvMsgs.store(alMac, msgType, msgId);
}

bool lookupGenRecvMsg(const MacAddr& alMac, uint16_t msgType, uint16_t msgId) {
    // Expired entries are skipped: a device that restarted uses its identifiers again.
    const Seconds time = now();
    return module().genRecvMsgs.find([&](const auto& entry) {
        return entry.msgId == msgId && entry.msgType == msgType && entry.alMac == alMac &&
               time - entry.time <= kGenRecvLifetime;
    }) != nullptr;
}

int registerQueriedMsg(const MacAddr& dstMac, uint16_t msgType, uint16_t msgId) {
    return storeQuery(module().queriedMsgs, dstMac, msgType, msgId);
}

bool isQueryPending(uint16_t respType, uint16_t respId) {
    return findQuery(respType, respId, [](const auto&) { return true; }) != nullptr;
}

Responder checkMatchQueryRespPair(const MacAddr& srcMac, uint16_t respType, uint16_t respId) {
    if (getAlTable() == nullptr) return Responder::kNone;
    const MacAddr alMac = alMacOf(srcMac);
    LOG(4, "alMac = " MAC_FMT ", macSa = " MAC_FMT ", type = %d, id = %d\r\n", MAC_ARGS(alMac),
        MAC_ARGS(srcMac), respType, respId);
    auto* const asked =
        findQuery(respType, respId, [&](const auto& query) { return query.alMac == alMac; });
    if (asked != nullptr) {
        asked->msgId = MessageMemory::kFree;
        return Responder::kAsked;
    }
    // Meant: any device may answer, unless the query went to the all-zero address. The query then
    // remains for the device that was asked, but not for more of the others.
    auto* const others = findQuery(respType, respId, [](const auto& query) {
        return !query.alMac.isZero() && !query.othersAnswered;
    });
    if (others == nullptr) return Responder::kNone;
    others->othersAnswered = true;
    return Responder::kOther;
}
