// The TLVs of a message: the area that is built, and the iteration over one that was received.
#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <span>

#include "base/bytes.h"

inline constexpr size_t k1905TlvHeaderLen = 3;  // type, big-endian length
inline constexpr size_t kLldpTlvHeaderLen = 2;  // 7 bits type, 9 bits length
inline constexpr size_t kMaxTlvLength = 0xFFFF;
inline constexpr size_t kMaxLldpTlvLength = 0x1FF;
inline constexpr size_t kMaxSentTlvSize = 1400;  // header included; a TLV is never split
inline constexpr size_t kMaxSentTlvLength = kMaxSentTlvSize - k1905TlvHeaderLen;

// The TLVs of a message in wire order, one behind the other. The memory is kept when the area is
// cleared, so that one area serves many messages.
class TlvArea {
  public:
    Bytes bytes() const { return {bytes_.get(), size_}; }
    size_t size() const { return size_; }
    bool empty() const { return size_ == 0; }
    void clear() { size_ = 0; }
    // Drops all bytes behind the first size ones.
    void cut(size_t size) { size_ = std::min(size_, size); }
    // Adds size bytes, which are not initialized, and returns them. They stay valid until the next
    // call.
    std::span<uint8_t> grow(size_t size);
    // Adds TLVs that are in wire order already.
    void append(Bytes tlvs) { ByteWriter(grow(tlvs.size())).bytes(tlvs); }

  private:
    std::unique_ptr<uint8_t[]> bytes_;
    size_t size_ = 0;
    size_t capacity_ = 0;
};

// Adds a TLV with a value of at most maxSize bytes, which write writes in wire order with the
// ByteWriter that it gets. False, and nothing is added, if maxSize does not fit in the length field
// of 16 bits, or if write tries to write more.
template <typename Write>
[[nodiscard]] bool add1905Tlv(TlvArea& area, uint8_t type, size_t maxSize, Write&& write) {
    if (maxSize > kMaxTlvLength) return false;
    const size_t before = area.size();
    const std::span<uint8_t> room = area.grow(k1905TlvHeaderLen + maxSize);
    ByteWriter value(room.subspan(k1905TlvHeaderLen));
    write(value);
    if (!value.ok()) {
        area.cut(before);
        return false;
    }
    ByteWriter(room).u8(type).u16(static_cast<uint32_t>(value.position()));
    area.cut(before + k1905TlvHeaderLen + value.position());
    return true;
}

// Add a TLV with this value; the LLDP form has 9 bits of length. False if the value is too long.
[[nodiscard]] bool flatten1905Tlv(TlvArea& area, uint8_t type, Bytes value);
[[nodiscard]] bool flattenLldpTlv(TlvArea& area, uint8_t type, Bytes value);

// The size in bytes of the TLV at the start of the bytes, 0 if it is cut off.
[[nodiscard]] inline size_t flatSize1905(Bytes tlvs) {
    if (tlvs.size() < k1905TlvHeaderLen) return 0;
    const size_t size = k1905TlvHeaderLen + (size_t{tlvs[1]} << 8 | tlvs[2]);
    return size <= tlvs.size() ? size : 0;
}

// Iterates over the TLVs of an area up to the end-of-message TLV. parse gets the bytes from the
// header of a TLV to the end of the area and returns the number of bytes it consumed, 0 to reject
// the TLV. True if every TLV was accepted and lay within the area; area then starts at the
// end-of-message TLV, or is empty if there is none.
template <typename Parse>
bool walkTlvs(Bytes& area, Parse&& parse) {
    while (!area.empty() && area[0] != 0) {
        const size_t consumed = parse(area);
        if (consumed == 0 || consumed > area.size()) return false;
        area = area.subspan(consumed);
    }
    return true;
}
