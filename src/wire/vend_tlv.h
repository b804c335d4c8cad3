// Codec of the vendor-specific TLV.
#pragma once

#include <optional>

#include "base/bytes.h"
#include "wire/tlv.h"
#include "wire/vend_msg.h"

// The TLV of a vendor message that leaves by the port with this MAC; nothing when its type is
// unknown or its payload is not that of the type.
[[nodiscard]] std::optional<Tlv> genVendSpecTlv(const VendMsg& msg, const MacAddr& portMac);

// Decodes the TLV at the start of the bytes into msg. Returns the number of bytes consumed, 0 when
// it is no vendor TLV of our OUI, or its type or payload is not understood.
[[nodiscard]] size_t parseVendSpecTlv(Bytes tlv, VendMsg& msg);
