#include "vendor/payload_codec.h"

#include <algorithm>
#include <array>

namespace {

bool encodeVendDisc(const VendPayload& payload, const MacAddr& portMac, ByteWriter& writer) {
    const auto* disc = dynamic_cast<const VendDisc*>(&payload);
    if (disc == nullptr) return false;
    writer.mac(disc->alMac).mac(portMac);
    return true;
}

size_t sizeOfVendDisc(const VendPayload& /*payload*/) {
    return 12;
}

std::unique_ptr<VendPayload> parseVendDisc(ByteReader& reader) {
    auto disc = std::make_unique<VendDisc>();
    disc->alMac = reader.mac();
    disc->intfMac = reader.mac();
    return disc;
}

constexpr std::array kCodecs{
    PayloadCodec{VEND_MSG_TYPE_VEND_DISC, encodeVendDisc, sizeOfVendDisc, parseVendDisc},
};
static_assert(std::is_sorted(kCodecs.begin(), kCodecs.end(), [](const auto& a, const auto& b) {
    return a.vendMsgType < b.vendMsgType;
}));

}  // namespace

const PayloadCodec* findPayloadCodec(uint16_t vendMsgType) {
    const auto it = std::lower_bound(
        kCodecs.begin(), kCodecs.end(), vendMsgType,
        [](const PayloadCodec& codec, uint16_t type) { return codec.vendMsgType < type; });
    return it != kCodecs.end() && it->vendMsgType == vendMsgType ? &*it : nullptr;
}
