// The vendor message record and the numbers of the vendor messages.
#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "core/mac_addr.h"

enum VendMsgType : uint16_t {
    VEND_MSG_TYPE_VEND_DISC = 45,
};

// What a vendor message carries, in the decoded form of its type.
struct VendPayload {
    VendPayload() = default;
    VendPayload(const VendPayload&) = default;
    VendPayload& operator=(const VendPayload&) = default;
    virtual ~VendPayload() = default;
};

struct VendMsg {
    std::array<uint8_t, 3> oui{};
    MacAddr alMac;        // of the sending device
    uint8_t headerA = 0;  // carried through, never validated
    uint8_t headerB = 1;
    uint16_t vendMsgType = 0;
    std::unique_ptr<VendPayload> payload;
};

// "I am here": AL MAC and the MAC of the interface by which the message leaves.
struct VendDisc : VendPayload {
    MacAddr alMac;
    MacAddr intfMac;
};
