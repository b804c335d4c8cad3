#include "wire/frame.h"

#include "base/log.h"
#include "base/result.h"

namespace {

constexpr uint8_t kLastFragment = 0x80;
constexpr uint8_t kRelay = 0x40;

int genEtherHdr(const MacAddr& dst, const MacAddr& src, uint16_t etherType,
                std::span<uint8_t> out) {
    ByteWriter writer(out);
    writer.mac(dst).mac(src).u16(etherType);
    return writer.ok() ? kOk : kFailure;
}

bool isFlag(int value) {
    return value == 0 || value == 1;
}

}  // namespace

int genLldpEtherHdr(const MacAddr& portMac, std::span<uint8_t> out) {
    return genEtherHdr(kLldpMulticast, portMac, kEtherTypeLldp, out);
}

int gen1905UcastEtherHdr(const MacAddr& portMac, const MacAddr& dstMac, std::span<uint8_t> out) {
    return genEtherHdr(dstMac, portMac, kEtherType1905, out);
}

int gen1905McastEtherHdr(const MacAddr& portMac, std::span<uint8_t> out) {
    return genEtherHdr(k1905Multicast, portMac, kEtherType1905, out);
}

int gen1905CmduHdr(uint16_t msgType, uint16_t msgId, uint8_t fragId, int lastFragmentIndicator,
                   int relayIndicator, std::span<uint8_t> out, uint8_t version) {
    ByteWriter writer(out);
    writer.u8(version).u8(0).u16(msgType).u16(msgId).u8(fragId);
    if (isFlag(lastFragmentIndicator) && isFlag(relayIndicator)) {
        writer.u8((lastFragmentIndicator == 1 ? kLastFragment : 0U) |
                  (relayIndicator == 1 ? kRelay : 0U));
    } else {
        LOG_PUTS(1, "incorrect lastFragmenetIndicator or relayIndicator\r");
        writer.skip(1);
    }
    return writer.ok() ? kOk : kFailure;
}

FrameHdr parseFrameHdr(Bytes frame) {
    ByteReader reader(frame);
    FrameHdr hdr;
    hdr.dstMac = reader.mac();
    hdr.srcMac = reader.mac();
    hdr.etherType = reader.u16();
    hdr.version = reader.u8();
    hdr.reserved = reader.u8();
    hdr.msgType = reader.u16();
    hdr.msgId = reader.u16();
    hdr.fragId = reader.u8();
    const uint8_t flags = reader.u8();
    hdr.lastFragment = (flags & kLastFragment) != 0;
    hdr.relay = (flags & kRelay) != 0;
    return hdr;
}
