#include "wire/tlv.h"

#include <utility>

std::span<uint8_t> TlvArea::grow(size_t size) {
    constexpr size_t kFirst = 512;
    const size_t needed = size_ + size;
    if (needed > capacity_) {
        capacity_ = std::max({needed, 2 * capacity_, kFirst});
        auto larger = std::make_unique_for_overwrite<uint8_t[]>(capacity_);
        std::copy_n(bytes_.get(), size_, larger.get());
        bytes_ = std::move(larger);
    }
    const size_t before = std::exchange(size_, needed);
    return {bytes_.get() + before, size};
}

bool flatten1905Tlv(TlvArea& area, uint8_t type, Bytes value) {
    return add1905Tlv(area, type, value.size(), [&](ByteWriter& out) { out.bytes(value); });
}

bool flattenLldpTlv(TlvArea& area, uint8_t type, Bytes value) {
    if (value.size() > kMaxLldpTlvLength) return false;
    ByteWriter out(area.grow(kLldpTlvHeaderLen + value.size()));
    out.u16(static_cast<uint32_t>(size_t{type} << 9 | value.size())).bytes(value);
    return out.ok();
}
