// The TLVs of each message type.
#pragma once

#include <cstdint>
#include <functional>

#include "net/ports.h"
#include "wire/standard_tlv.h"
#include "wire/tlv.h"
#include "wire/vend_msg.h"

// The TLVs of the last topology response.
struct TopolRespTlvs {
    TlvArea tlvs;
    uint64_t revision = 0;  // of the tables that it shows, 0 if there is none
    uint8_t intfNum = 0;
};

// Role and frequency band of an AP-autoconfiguration search, response or renew.
struct RoleBand {
    uint8_t role = 0;
    uint8_t band = 0;
};

// The content of a message behind its headers.
struct MsgBody {
    // Adds the TLVs in order, without the end-of-message TLV, for the port by which the message
    // leaves; false if a mandatory one cannot be built. Without a function the type determines the
    // TLVs, which only types 0 to 3 can.
    std::function<bool(const Port& port, TlvArea& area)> build{};
    bool namesPort = false;  // the TLVs differ from port to port
};

// The bodies of the other types. They refer to their argument, which must outlive them.
[[nodiscard]] MsgBody vendSpecBody(const VendMsg& msg);            // type 4
[[nodiscard]] MsgBody metricQueryBody(const MetricQuery& query);   // type 5
[[nodiscard]] MsgBody metricRespBody(const MetricQuery& query);    // type 6
[[nodiscard]] MsgBody apSearchBody(const RoleBand& searched);      // type 7
[[nodiscard]] MsgBody apSupportedBody(const RoleBand& supported);  // types 8 and 10
[[nodiscard]] MsgBody wscBody(const Wsc& wsc);                     // type 9
[[nodiscard]] MsgBody pbEventBody(const PBEventNtf& event);        // type 11
[[nodiscard]] MsgBody pbJoinBody(const PBJoinNtf& join);           // type 12
[[nodiscard]] MsgBody readyBody(Bytes tlvs);                       // any type, built already

// How a message of a type is sent.
struct MsgTraits {
    bool relay = false;            // the relay indicator of its multicasts
    bool expectsResponse = false;  // it is registered as a query
};

// Adds the TLVs of an LLDP frame for this port, in order. False if one cannot be built.
[[nodiscard]] bool genLldpMsg(const Port& port, TlvArea& area);

// Replaces the content of the area by the TLVs of a message in order, without the end-of-message
// TLV. The area is empty afterwards if a mandatory one cannot be built, or if body has no function
// and the type is not 0 to 3. Always sets traits.
void gen1905Msg(const Port& port, uint16_t msgType, const MsgBody& body, TlvArea& area,
                MsgTraits& traits);

// True if the TLVs differ from port to port.
[[nodiscard]] bool isBuiltPerPort(uint16_t msgType, const MsgBody& body);
