#include "daemon/receiver.h"

#include <sys/socket.h>

#include <algorithm>
#include <array>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "daemon/message_dispatch.h"
#include "db/database.h"
#include "db/neighbor_aging.h"
#include "db/options.h"
#include "net/transmitter.h"
#include "wire/standard_tlv.h"

namespace {

constexpr Seconds kRepeatInterval = 2;
constexpr size_t kMaxRepeats = 4096;

void reportUnread(const Port& port, ssize_t size) {
    LOG(2, "failed to read IEEE 1905.1 frame from port (%s): size (%d)\r\n", port.name.c_str(),
        static_cast<int>(size));
}

// Stores the size of a frame that was read into the buffer. Behind it, the headers are zero.
void setLength(FrameBuffer& rx, ssize_t size) {
    rx.length = static_cast<uint32_t>(std::max<ssize_t>(size, 0));
    if (rx.length < kHeadersLen) {
        std::fill(rx.frame.begin() + rx.length, rx.frame.begin() + kHeadersLen, uint8_t{0});
    }
}

// Reads a frame into the receive buffer. The result of recvfrom(2).
ssize_t readFrame(const Fd& socket) {
    FrameBuffer& rx = useRxBuffer(0);
    const ssize_t size =
        recvfrom(socket.get(), rx.frame.data(), rx.frame.size(), MSG_DONTWAIT, nullptr, nullptr);
    setLength(rx, size);
    return size;
}

// True if the frame comes from one of the own interfaces.
bool checkmacSaLoop(const MacAddr& srcMac) {
    const auto& intfs = getIntfTable();
    return std::any_of(intfs.begin(), intfs.end(),
                       [&](const IntfTable& intf) { return intf.mac == srcMac; });
}

bool acceptHeaders(const Port& port, const FrameHdr& hdr) {
    if (hdr.etherType != kEtherType1905) {
        LOG(2, "incorrect etherType (0x%x)\r\n", hdr.etherType);
        return false;
    }
    if (checkmacSaLoop(hdr.srcMac)) {
        LOG(2, "source MAC (" MAC_FMT ") is loop.\r\n", MAC_ARGS(hdr.srcMac));
        return false;
    }
    const MacAddr* alMac = getAlMac();
    if (hdr.dstMac != k1905Multicast && hdr.dstMac != port.mac &&
        (alMac == nullptr || hdr.dstMac != *alMac)) {
        LOG(4, "incorrect destination MAC (" MAC_FMT ")\r\n", MAC_ARGS(hdr.dstMac));
        return false;
    }
    return hdr.version == kCmduVersion || (hdr.version == kStandardVersion && getStandardOption());
}

// Logs a message that cannot be parsed.
int reported(int result, const FrameHdr& hdr) {
    if (result != kFailure) return kOk;
    LOG(2, "failed to parse the IEEE1905.1 TLVs (type = %d, id = %d)\r\n", hdr.msgType, hdr.msgId);
    return kFailure;
}

int handleLastFragment(Port& port, const FrameHdr& hdr, Bytes area) {
    FragCmdu* cmdu = findFragCmdu(port, hdr);
    if (cmdu == nullptr) {
        LOG_PUTS(2, "Should have at least one fragmented frame has reieved, but not found\r");
        return kFailure;
    }
    int result = storeFragment(port, hdr, area);
    if (result == kOk) result = parse1905FragMsg(port, hdr, *cmdu);
    removeFragCmdu(cmdu);  // even if it cannot be parsed: no later fragment completes it
    return reported(result, hdr);
}

// A topology response shows that its sender is there, even if it is dropped later: forged responses
// may have answered the query before it.
void noteResponder(Bytes area) {
    (void)walkTlvs(area, [](Bytes tlv) {
        if (tlv[0] != kTlvAlMac && tlv[0] != kTlvDevInfo) return flatSize1905(tlv);
        ByteReader reader(tlv);
        reader.skip(k1905TlvHeaderLen);
        refuteClaims(reader.mac());
        return size_t{0};  // one is enough
    });
}

int handleMessage(Port& port, const FrameHdr& hdr, Bytes area) {
    // No device of this family divides vendor messages or multicasts.
    const bool isDivided = !hdr.lastFragment || hdr.fragId > 0;
    const bool isUnread =
        hdr.msgType >= kMsgTypeNum ||
        (isDivided && (hdr.msgType == kMsgVendSpec || hdr.dstMac == k1905Multicast));
    if (isUnread && getStandardOption()) return relayUnread(port, hdr, area);
    if (hdr.msgType == kMsgTopolResp) noteResponder(area);
    if (!hdr.lastFragment) return storeFragment(port, hdr, area);
    if (hdr.fragId > 0) return handleLastFragment(port, hdr, area);
    return reported(parse1905Msg(port, hdr, area), hdr);
}

// Handles the frame in the receive buffer.
int handleFrame(Port& port) {
    const FrameBuffer& rx = getRxBuffer();
    const FrameHdr hdr = parseFrameHdr(rx.frame);
    if (!acceptHeaders(port, hdr)) return kFailure;
    if (rx.length < kHeadersLen) {
        // The missing header fields would read as those of a first fragment.
        reportUnread(port, rx.length);
        return kFailure;
    }
    LOG(3,
        "receive a message: (port = %s, size = %d, macSa = " MAC_FMT
        ", version = 0x%.2x, type = %d, id = %d, fragId = %d, lastFragInd = %d, relayInd = %d)\r\n",
        port.name.c_str(), static_cast<int>(rx.length), MAC_ARGS(hdr.srcMac), hdr.version,
        hdr.msgType, hdr.msgId, hdr.fragId, hdr.lastFragment ? 1 : 0, hdr.relay ? 1 : 0);
    const Bytes frame(rx.frame.data(), rx.length);
    const Bytes area = frame.subspan(std::min(frame.size(), kHeadersLen));
    // A multicast may have been relayed, and then has the version of another device.
    const bool isSendersOwn = hdr.dstMac != k1905Multicast || hdr.msgType == kMsgTopolDisc;
    if (!getStandardOption() || !isSendersOwn) return handleMessage(port, hdr, area);
    noteSender(hdr.srcMac, hdr.version);
    const int result = handleMessage(port, hdr, area);
    noteVersion(hdr.srcMac, hdr.version);
    return result;
}

}  // namespace

int initMessageReceiver() {
    return kOk;
}

int recv1905Msg(Port& port) {
    const ssize_t size = readFrame(port.ieee1905Sock);
    if (size > 0) return handleFrame(port);
    reportUnread(port, size);
    return kFailure;
}

unsigned recv1905Msgs(Port& port) {
    std::array<mmsghdr, kRxBuffers> messages{};
    std::array<iovec, kRxBuffers> parts;
    for (size_t i = 0; i < kRxBuffers; i++) {
        FrameBuffer& rx = useRxBuffer(i);
        parts[i] = {rx.frame.data(), rx.frame.size()};
        messages[i].msg_hdr.msg_iov = &parts[i];
        messages[i].msg_hdr.msg_iovlen = 1;
    }
    const int count =
        recvmmsg(port.ieee1905Sock.get(), messages.data(), kRxBuffers, MSG_DONTWAIT, nullptr);
    if (count <= 0) reportUnread(port, count);
    for (int i = 0; i < count; i++) {
        const auto at = static_cast<size_t>(i);
        setLength(useRxBuffer(at), messages[at].msg_len);
        if (messages[at].msg_len > 0) {
            (void)handleFrame(port);
        } else {
            reportUnread(port, 0);
        }
    }
    return static_cast<unsigned>(std::max(count, 0));
}

int recvLldpMsg(Port& port) {
    if (readFrame(port.lldpSock) <= 0) return kFailure;
    const FrameBuffer& rx = getRxBuffer();
    const FrameHdr hdr = parseFrameHdr(rx.frame);
    // The other LLDP addresses pass some bridges.
    if (rx.length < kEtherHdrLen || hdr.etherType != kEtherTypeLldp ||
        hdr.dstMac != kLldpMulticast || checkmacSaLoop(hdr.srcMac)) {
        return kFailure;
    }
    return parseLldpMsg(port, Bytes(rx.frame.data(), rx.length).subspan(kEtherHdrLen));
}

int checkparse1905MsgRepeat(const MacAddr& srcMac, uint16_t msgType, uint16_t msgId) {
    LOG(4, "macSa = " MAC_FMT ", msgType = %d\r\n", MAC_ARGS(srcMac), msgType);
    const bool byTypeAlone = msgType <= kMsgTopolResp;
    if (!byTypeAlone && msgType != kMsgVendSpec && msgType != kMsgApAutoConfSrch &&
        msgType != kMsgApAutoConfResp) {
        LOG(4, "msgType = %d not check \r\n", msgType);
        return kOk;
    }
    auto& repeats = stateOf<Receiver>().ParseListHsad;
    const Seconds time = now();
    const auto entry = std::find_if(repeats.begin(), repeats.end(), [&](const RepeatEntry& repeat) {
        return repeat.srcMac == srcMac && repeat.msgType == msgType;
    });
    if (entry == repeats.end()) {
        if (repeats.size() >= kMaxRepeats) repeats.pop_front();
        repeats.push_back({srcMac, msgType, msgId, time});
        return kOk;
    }
    const Seconds age = time - entry->time;
    if (byTypeAlone && age <= kRepeatInterval) {
        LOG(4, "Difference time = %d ......\r\n", static_cast<int>(age));
        return kFailure;
    }
    if (!byTypeAlone && age <= kRepeatInterval && entry->msgId == msgId) {
        LOG(4, "Difference time = %d , msgId = %d \r\n", static_cast<int>(age), msgId);
        return kFailure;
    }
    entry->time = time;
    if (!byTypeAlone) entry->msgId = msgId;
    return kOk;
}
