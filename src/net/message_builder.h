// Which TLVs a message is made of.
#pragma once

#include <cstdint>
#include <variant>

#include "net/ports.h"
#include "wire/standard_tlv.h"
#include "wire/tlv.h"
#include "wire/vend_msg.h"

// Role and frequency band of an AP-autoconfiguration search, response or renew.
struct RoleBand {
    uint8_t role = 0;
    uint8_t band = 0;
};

// The body of a message; types 0 to 3 have none. A list of TLVs is a message as somebody else has
// built it. Not owned.
using MsgBody = std::variant<std::monostate, const VendMsg*, const MetricQuery*, const RoleBand*,
                             const Wsc*, const PBEventNtf*, const PBJoinNtf*, const TlvList*>;

// How a message travels.
struct MsgTraits {
    bool relay = false;            // the relay indicator of its multicasts
    bool expectsResponse = false;  // it is remembered to pair the response with
};

// The TLVs of an LLDP frame for this port, in order; empty when one cannot be built.
TlvList genLldpMsg(const Port& port);

// The TLVs of a message in order, without the end-of-message TLV; empty when a mandatory one
// cannot be built, the body is not that of the type, or the type is above 12. traits is set first.
TlvList gen1905Msg(const Port& port, uint16_t msgType, const MsgBody& body, MsgTraits& traits);

// True for messages that name the port by which they leave.
bool isBuiltPerPort(uint16_t msgType, const MsgBody& body);
