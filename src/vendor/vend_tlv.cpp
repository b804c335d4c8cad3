#include "vendor/vend_tlv.h"

#include <algorithm>

#include "core/log.h"
#include "topology/data_manager.h"
#include "topology/standard_tlv.h"
#include "vendor/payload_codec.h"

namespace {

// OUI, AL MAC, two header bytes, message type, payload length.
constexpr size_t kVendHdrLen = 15;

const PayloadCodec* codecOf(uint16_t vendMsgType) {
    const PayloadCodec* codec = findPayloadCodec(vendMsgType);
    if (codec == nullptr) {
        LOG(3, "the vendor specific message type (%d) is unsoppourted\r\n", vendMsgType);
    }
    return codec;
}

}  // namespace

std::optional<Tlv> genVendSpecTlv(const VendMsg& msg, const MacAddr& portMac) {
    LOG(4, "vendor specific message type is (%d)\r\n", msg.vendMsgType);
    const PayloadCodec* codec = codecOf(msg.vendMsgType);
    if (codec != nullptr && msg.payload != nullptr) {
        const size_t payloadLen = codec->size(*msg.payload);
        Tlv tlv{kTlvVendSpec, std::vector<uint8_t>(kVendHdrLen + payloadLen)};
        ByteWriter writer(tlv.value);
        writer.bytes(msg.oui).mac(msg.alMac).u8(msg.headerA).u8(msg.headerB);
        writer.u16(msg.vendMsgType).u16(static_cast<uint32_t>(payloadLen));
        if (codec->encode(*msg.payload, portMac, writer) && writer.ok()) return tlv;
    }
    LOG_PUTS(2, "failed to generate vender specific TLV\r");
    return std::nullopt;
}

size_t parseVendSpecTlv(Bytes tlv, VendMsg& msg) {
    ByteReader reader(tlv);
    const uint8_t type = reader.u8();
    const uint16_t length = reader.u16();
    if (!reader.ok() || type != kTlvVendSpec || length <= kVendHdrLen) {
        LOG(2, "TLV type/len (%d/%d): invalid vendor specific TLV\r\n", type, length);
        return 0;
    }
    const Bytes oui = reader.take(msg.oui.size());
    std::copy(oui.begin(), oui.end(), msg.oui.begin());
    const uint8_t* ownOui = getAlOui();
    if (ownOui == nullptr || !std::equal(msg.oui.begin(), msg.oui.end(), ownOui)) {
        LOG(3, "unsupported vendor specific TLV (OUI=%.2x:%.2x:%.2x)\r\n", msg.oui[0], msg.oui[1],
            msg.oui[2]);
        return 0;
    }
    msg.alMac = reader.mac();
    msg.headerA = reader.u8();
    msg.headerB = reader.u8();
    msg.vendMsgType = reader.u16();
    reader.skip(2);  // meant: a parser reads its own counts, the payload length is not compared
    LOG(4, "the vendor specific message type is (%d)\r\n", msg.vendMsgType);
    const PayloadCodec* codec = codecOf(msg.vendMsgType);
    if (codec == nullptr) return 0;
    msg.payload = codec->parse(reader);
    if (msg.payload == nullptr || !reader.ok()) {
        LOG_PUTS(1, "failed to parse the vendor specific TLV\r");
        return 0;
    }
    return reader.position();
}
