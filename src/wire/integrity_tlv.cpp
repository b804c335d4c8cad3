#include "wire/integrity_tlv.h"

#include <algorithm>

namespace {

constexpr unsigned kMicVersion = 1;  // the MIC covers the destination address, too
constexpr unsigned kKeyIdShift = 6;
constexpr unsigned kMicVersionShift = 4;
constexpr size_t kCounterLen = 6;
constexpr size_t kLength = 1 + kCounterLen + 6 + 2 + kMicLen;

// Writes the counter and the sender, which the TLV and the input of the MIC have in common.
void writeOrigin(ByteWriter& out, const IntegrityTlv& tlv) {
    out.u16(static_cast<uint32_t>(tlv.counter >> 32)).u32(static_cast<uint32_t>(tlv.counter));
    out.mac(tlv.alMac);
}

}  // namespace

bool genIntegrityTlv(TlvArea& area, const IntegrityTlv& tlv) {
    return add1905Tlv(area, kTlvIntegrity, kLength, [&](ByteWriter& out) {
        out.u8(uint32_t{tlv.keyId} << kKeyIdShift | kMicVersion << kMicVersionShift);
        writeOrigin(out, tlv);
        out.u16(kMicLen).bytes(tlv.mic);
    });
}

std::optional<IntegrityTlv> parseIntegrityTlv(Bytes tlv) {
    ByteReader reader(tlv);
    const uint8_t type = reader.u8();
    const uint16_t length = reader.u16();
    IntegrityTlv out;
    const unsigned flags = reader.u8();
    out.keyId = static_cast<uint8_t>(flags >> kKeyIdShift);
    out.counter = uint64_t{reader.u16()} << 32;
    out.counter |= reader.u32();
    out.alMac = reader.mac();
    const uint16_t micLen = reader.u16();
    const Bytes mic = reader.take(kMicLen);
    if (!reader.ok() || type != kTlvIntegrity || length != kLength || micLen != kMicLen ||
        (flags & ((1U << kKeyIdShift) - 1)) != kMicVersion << kMicVersionShift) {
        return std::nullopt;
    }
    std::ranges::copy(mic, out.mic.begin());
    return out;
}

std::vector<uint8_t> micInput(const FrameHdr& hdr, const IntegrityTlv& tlv) {
    std::vector<uint8_t> out(6 + 6 + kCounterLen + 6);
    ByteWriter writer(out);
    writer.u8(hdr.version).u8(hdr.reserved).u16(hdr.msgType).u16(hdr.msgId).mac(hdr.dstMac);
    writeOrigin(writer, tlv);
    return out;
}

std::optional<SignedMessage> splitSignedMessage(const FrameHdr& hdr, std::span<const Bytes> areas) {
    std::vector<uint8_t> tlvs;
    std::optional<IntegrityTlv> integrity;
    for (Bytes area : areas) {
        const bool isWhole = walkTlvs(area, [&](Bytes tlv) -> size_t {
            const size_t size = flatSize1905(tlv);
            if (size == 0 || integrity) return 0;
            if (tlv[0] == kTlvIntegrity) {
                integrity = parseIntegrityTlv(tlv);
                return integrity ? size : 0;
            }
            tlvs.insert(tlvs.end(), tlv.begin(), tlv.begin() + static_cast<long>(size));
            return size;
        });
        if (!isWhole) return std::nullopt;
    }
    if (!integrity) return std::nullopt;
    SignedMessage message{*integrity, micInput(hdr, *integrity)};
    message.covered.insert(message.covered.end(), tlvs.begin(), tlvs.end());
    return message;
}
