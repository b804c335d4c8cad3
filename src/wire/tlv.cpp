#include "wire/tlv.h"

namespace {

size_t finish(const ByteWriter& writer) {
    return writer.ok() ? writer.position() : 0;
}

}  // namespace

size_t flatten1905Tlv(const Tlv& tlv, std::span<uint8_t> out) {
    if (tlv.value.size() > kMaxTlvLength) return 0;
    ByteWriter writer(out);
    writer.u8(tlv.type).u16(static_cast<uint32_t>(tlv.value.size())).bytes(tlv.value);
    return finish(writer);
}

size_t flattenLldpTlv(const Tlv& tlv, std::span<uint8_t> out) {
    if (tlv.value.size() > 0x1FF) return 0;
    ByteWriter writer(out);
    writer.u16(static_cast<uint32_t>(size_t{tlv.type} * 512 + tlv.value.size())).bytes(tlv.value);
    return finish(writer);
}
