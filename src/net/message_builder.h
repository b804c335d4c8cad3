// Which TLVs a message is made of.
#pragma once

#include <cstdint>
#include <functional>

#include "net/ports.h"
#include "wire/standard_tlv.h"
#include "wire/tlv.h"
#include "wire/vend_msg.h"

// Role and frequency band of an AP-autoconfiguration search, response or renew.
struct RoleBand {
    uint8_t role = 0;
    uint8_t band = 0;
};

// What a message consists of behind its headers.
struct MsgBody {
    // Builds the TLVs in order, without the end-of-message TLV, for the port by which the message
    // leaves; none when a mandatory one cannot be built. Without a function the body is that of
    // the type, which types 0 to 3 have.
    std::function<TlvList(const Port& port)> build{};
    bool namesPort = false;  // the TLVs differ from port to port
};

// The bodies that need more than the type. They refer to what they are given, which must outlive
// them.
[[nodiscard]] MsgBody vendSpecBody(const VendMsg& msg);            // type 4
[[nodiscard]] MsgBody metricQueryBody(const MetricQuery& query);   // type 5
[[nodiscard]] MsgBody metricRespBody(const MetricQuery& query);    // type 6
[[nodiscard]] MsgBody apSearchBody(const RoleBand& searched);      // type 7
[[nodiscard]] MsgBody apSupportedBody(const RoleBand& supported);  // types 8 and 10
[[nodiscard]] MsgBody wscBody(const Wsc& wsc);                     // type 9
[[nodiscard]] MsgBody pbEventBody(const PBEventNtf& event);        // type 11
[[nodiscard]] MsgBody pbJoinBody(const PBJoinNtf& join);           // type 12
[[nodiscard]] MsgBody readyBody(const TlvList& tlvs);  // any, as somebody else has built it

// How a message travels.
struct MsgTraits {
    bool relay = false;            // the relay indicator of its multicasts
    bool expectsResponse = false;  // it is remembered to pair the response with
};

// The TLVs of an LLDP frame for this port, in order; empty when one cannot be built.
[[nodiscard]] TlvList genLldpMsg(const Port& port);

// The TLVs of a message in order, without the end-of-message TLV; empty when a mandatory one
// cannot be built, the type has no body of its own, or the type is above 12. traits is set first.
[[nodiscard]] TlvList gen1905Msg(const Port& port, uint16_t msgType, const MsgBody& body,
                                 MsgTraits& traits);

// True for messages that name the port by which they leave.
[[nodiscard]] bool isBuiltPerPort(uint16_t msgType, const MsgBody& body);
