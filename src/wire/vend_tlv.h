// Codec of the vendor-specific TLV.
#pragma once

#include "base/bytes.h"
#include "wire/tlv.h"
#include "wire/vend_msg.h"

// Adds the TLV of a vendor message that leaves by the port with this MAC. False (logged) if its
// type is unknown, its payload is not that of the type, or a field exceeds its capacity.
[[nodiscard]] bool genVendSpecTlv(TlvArea& area, const VendMsg& msg, const MacAddr& portMac);

// True if the TLV at the start of the bytes, or one of the area, is a vendor TLV with our OUI.
[[nodiscard]] bool isOwnVendTlv(Bytes tlv);
[[nodiscard]] bool hasOwnVendTlv(Bytes area);

// Decodes the TLV at the start of the bytes into msg. Returns the number of bytes consumed, or 0
// (logged) if it is no vendor TLV with our OUI, its type is unknown, or its payload is malformed.
[[nodiscard]] size_t parseVendSpecTlv(Bytes tlv, VendMsg& msg);
