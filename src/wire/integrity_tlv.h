// The integrity TLV. It proves that a message comes from a device that knows the key of the mesh,
// for this receiver, and lets the receiver refuse a message that was sent before.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "base/bytes.h"
#include "base/mac_addr.h"
#include "wire/frame.h"
#include "wire/tlv.h"

inline constexpr uint8_t kTlvIntegrity = 0xAB;
inline constexpr size_t kMicLen = 32;

using Mic = std::array<uint8_t, kMicLen>;

struct IntegrityTlv {
    uint8_t keyId = 0;     // 0 to 3
    uint64_t counter = 0;  // 48 bits
    MacAddr alMac;         // of the sender
    Mic mic{};
};

// Adds the TLV to the area of a message.
[[nodiscard]] bool genIntegrityTlv(TlvArea& area, const IntegrityTlv& tlv);

// Decodes the TLV at the start of the bytes. std::nullopt if it is cut, or another type, version or
// length.
[[nodiscard]] std::optional<IntegrityTlv> parseIntegrityTlv(Bytes tlv);

// What the MIC covers: of the header the version, the reserved byte, type, identifier and the
// destination of the frame; of the TLV the counter and the AL MAC. The TLVs of the message follow.
[[nodiscard]] std::vector<uint8_t> micInput(const FrameHdr& hdr, const IntegrityTlv& tlv);

// A message divided into what its MIC covers and its integrity TLV.
struct SignedMessage {
    IntegrityTlv integrity;
    std::vector<uint8_t> covered;  // the input of the MIC
};

// Divides a message; areas are the TLV areas of its fragments in order. std::nullopt if it is
// malformed, or its last TLV is not its only integrity TLV.
[[nodiscard]] std::optional<SignedMessage> splitSignedMessage(const FrameHdr& hdr,
                                                              std::span<const Bytes> areas);
