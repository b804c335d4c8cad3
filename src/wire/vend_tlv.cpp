#include "wire/vend_tlv.h"

#include <algorithm>

#include "base/log.h"
#include "db/database.h"
#include "wire/standard_tlv.h"
#include "wire/vend_catalogue.h"
#include "wire/vend_fields.h"

namespace {

// OUI (3), AL MAC (6), two header bytes, message type (2), payload length (2).
constexpr size_t kVendHdrLen = 15;

const VendType* knownType(uint16_t vendMsgType) {
    const VendType* type = findVendType(vendMsgType);
    if (type == nullptr) {
        LOG(3, "the vendor specific message type (%d) is unsoppourted\r\n", vendMsgType);
    }
    return type;
}

// Appends a payload to out; false if one of its fields exceeds its capacity.
bool write(const VendPayload& payload, const SendContext& context, std::vector<uint8_t>& out) {
    FieldWriter writer(out, context);
    std::visit(
        [&](const auto& fields) {
            using Payload = std::decay_t<decltype(fields)>;
            if constexpr (!std::is_same_v<Payload, std::monostate>) {
                Payload::describe(writer, fields);
            }
        },
        payload);
    return writer.ok();
}

// Reads a payload of this declared length; the reader fails if the payload is malformed.
template <size_t kPayload>
void read(ByteReader& reader, size_t payloadLen, VendPayload& payload) {
    using Payload = std::variant_alternative_t<kPayload, VendPayloads>;
    if constexpr (!std::is_same_v<Payload, std::monostate>) {
        FieldReader fields(reader, payloadLen);
        Payload::describe(fields, payload.emplace<kPayload>());
    }
}

using Read = void (*)(ByteReader& reader, size_t payloadLen, VendPayload& payload);

// The read functions by alternative of VendPayloads.
template <size_t... kPayloads>
constexpr std::array<Read, sizeof...(kPayloads)> readers(std::index_sequence<kPayloads...>) {
    return {read<kPayloads>...};
}
constexpr auto kReaders = readers(std::make_index_sequence<std::variant_size_v<VendPayloads>>());

// Encodes header and payload into out; false if they cannot be encoded.
bool encode(const VendMsg& msg, const MacAddr& portMac, std::vector<uint8_t>& out) {
    const VendType* type = knownType(msg.vendMsgType);
    if (type == nullptr || type->payload != msg.payload.index()) return false;
    out.reserve(kMaxSentTlvLength);
    out.resize(kVendHdrLen);
    if (!write(msg.payload, {portMac}, out) || out.size() > kMaxTlvLength) return false;
    ByteWriter writer(out);
    writer.bytes(msg.oui).mac(msg.alMac).u8(msg.headerA).u8(msg.headerB);
    writer.u16(msg.vendMsgType).u16(static_cast<uint32_t>(out.size() - kVendHdrLen));
    return true;
}

}  // namespace

bool genVendSpecTlv(TlvArea& area, const VendMsg& msg, const MacAddr& portMac) {
    LOG(4, "vendor specific message type is (%d)\r\n", msg.vendMsgType);
    std::vector<uint8_t> value;
    if (encode(msg, portMac, value)) return flatten1905Tlv(area, kTlvVendSpec, value);
    LOG_PUTS(2, "failed to generate vender specific TLV\r");
    return false;
}

bool isOwnVendTlv(Bytes tlv) {
    ByteReader reader(tlv);
    const uint8_t type = reader.u8();
    (void)reader.u16();
    const uint8_t* const own = getAlOui();
    const Bytes oui = reader.take(3);
    return reader.ok() && type == kTlvVendSpec && own != nullptr &&
           std::ranges::equal(oui, Bytes(own, 3));
}

bool hasOwnVendTlv(Bytes area) {
    bool found = false;
    (void)walkTlvs(area, [&](Bytes tlv) {
        found = found || isOwnVendTlv(tlv);
        return flatSize1905(tlv);
    });
    return found;
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
    // Meant: the counts inside the payload decide; the length is not compared with what is
    // consumed.
    const uint16_t payloadLen = reader.u16();
    LOG(4, "the vendor specific message type is (%d)\r\n", msg.vendMsgType);
    const VendType* vendType = knownType(msg.vendMsgType);
    if (vendType == nullptr) return 0;
    kReaders[vendType->payload](reader, payloadLen, msg.payload);
    if (!reader.ok()) {
        LOG_PUTS(1, "failed to parse the vendor specific TLV\r");
        return 0;
    }
    return reader.position();
}
