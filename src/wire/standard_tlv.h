// Codec of the standard TLVs: LLDP and IEEE 1905.1.
//
// A generator returns a TLV whose value is in wire order, or nothing when there is nothing to say
// or no database to say it from.
//
// A parser takes the bytes from the TLV's header to the end of what arrived and returns how many
// of them it consumed, header included, or 0 when it rejects the TLV; it logs why at level 2.
// A TLV whose length does not even cover its fixed part is rejected; counts inside a TLV are
// followed as far as bytes arrived, not as far as the TLV's length says, unless a description below
// says otherwise. What was decoded before a rejection may stay in the
// destination. The two end markers return kOk or kFailure instead.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "base/bytes.h"
#include "base/text.h"
#include "db/records.h"
#include "wire/tlv.h"

enum LldpTlvType : uint8_t {
    kLldpTlvEnd = 0,
    kLldpTlvChassisId = 1,
    kLldpTlvPortId = 2,
    kLldpTlvTtl = 3,
};

enum TlvType : uint8_t {
    kTlvEndOfMsg = 0,
    kTlvAlMac = 1,
    kTlvMac = 2,
    kTlvDevInfo = 3,
    kTlvDevBrdgCap = 4,
    kTlvNon1905Nbr = 6,
    kTlv1905Nbr = 7,
    kTlvMetricQuery = 8,
    kTlvTxMetric = 9,
    kTlvRxMetric = 10,
    kTlvVendSpec = 11,
    kTlvMetricResCode = 12,
    kTlvSearchRole = 13,
    kTlvAutoConfFreqBand = 14,
    kTlvSupportedRole = 15,
    kTlvSupportedFreqBand = 16,
    kTlvWsc = 17,
    kTlvPBEventNtf = 18,
    kTlvPBJoinNtf = 19,
    kTlvWscUpdateTime = 80,  // our own addition to the standard set
};

inline constexpr uint16_t kLldpTtl = 180;  // seconds, sent and demanded

struct MetricQuery {
    uint8_t nbrSelector = 0;  // 0 all neighbours, 1 one
    MacAddr nbrAlMac;
    uint8_t metrics = 0;  // 0 transmitter, 1 receiver, 2 both
};

struct PBMediaType {
    uint16_t mediaType = 0;
    MediaInfo info;
};

struct PBEventNtf {
    std::vector<PBMediaType> mediaTypes;
};

struct PBJoinNtf {
    MacAddr alMac;
    uint16_t msgId = 0;
    MacAddr txIntfMac;
    MacAddr newDevIntfMac;
};

struct Wsc {
    std::vector<uint8_t> frame;
    Text<32> updateTime;  // "" or "0000000000": none
};

// LLDP.
std::optional<Tlv> genChassisIdTlv();
std::optional<Tlv> genPortIdTlv(const MacAddr& portMac);
std::optional<Tlv> genTtlTlv();
std::optional<Tlv> genEndOfLldpduTlv();

// IEEE 1905.1. index is that of a local interface.
std::optional<Tlv> genEndOfMsgTlv();
std::optional<Tlv> genAlMacTlv();
std::optional<Tlv> genMacTlv(const MacAddr& mac);
std::optional<Tlv> genDevInfoTlv();
std::optional<Tlv> genDevBrdgCapTlv();
std::optional<Tlv> genNon1905NbrDevTlv(unsigned index);
std::optional<Tlv> gen1905NbrDevTlv(unsigned index);
std::optional<Tlv> genMetricQueryTlv(const MetricQuery& query);
std::optional<Tlv> genTxMetricTlv(const LinkMetricInfo& info);
std::optional<Tlv> genRxMetricTlv(const LinkMetricInfo& info);
std::optional<Tlv> genMetricResCodeTlv();
std::optional<Tlv> genSearchRoleTlv(uint32_t role);         // low 8 bits
std::optional<Tlv> genAutoConfFreqBandTlv(uint32_t band);   // low 8 bits
std::optional<Tlv> genSupportedRoleTlv(uint32_t role);      // low 8 bits
std::optional<Tlv> genSupportedFreqBandTlv(uint32_t band);  // low 8 bits
std::optional<Tlv> genWscTlv(const Wsc& wsc);
std::optional<Tlv> genWscUpdatetimeTlv(std::string_view updateTime);
std::optional<Tlv> genPBEventNtfTlv(const PBEventNtf& event);
std::optional<Tlv> genPBJoinNtfTlv(const PBJoinNtf& join);

// LLDP.
size_t parseChassisIdTlv(MacAddr& mac, Bytes tlv);
size_t parsePortIdTlv(MacAddr& mac, Bytes tlv);
size_t parseTtlTlv(uint16_t& ttl, Bytes tlv);
int parseEndOfLldpduTlv(Bytes tlv);

// IEEE 1905.1.
int parseEndOfMsgTlv(Bytes tlv);
size_t parseAlMacTlv(MacAddr& mac, Bytes tlv);
size_t parseMacTlv(MacAddr& mac, Bytes tlv);
// receiverId is stored in the record and means what the caller wants.
size_t parseDevInfoTlv(DevTopol& dev, uint16_t receiverId, Bytes tlv);
size_t parseDevBrdgCapTlv(DevTopol& dev, Bytes tlv);
// The number of neighbours comes from the TLV's length.
size_t parseNon1905NbrDevTlv(DevTopol& dev, Bytes tlv);
size_t parse1905NbrDevTlv(DevTopol& dev, Bytes tlv);
// The selector, not the length, picks the layout.
size_t parseMetricQueryTlv(MetricQuery& query, Bytes tlv);
// Both merge into one entry per pair of interfaces; the number of links comes from the length.
size_t parseTxMetricTlv(LinkMetricInfo& info, Bytes tlv);
size_t parseRxMetricTlv(LinkMetricInfo& info, Bytes tlv);
size_t parseMetricResCodeTlv(uint8_t& code, Bytes tlv);
size_t parseSrchRoleTlv(uint8_t& role, Bytes tlv);
size_t parseAutoConfFreqBandTlv(uint8_t& band, Bytes tlv);
size_t parseSupportedRoleTlv(uint8_t& role, Bytes tlv);
size_t parseSupportedFreqBandTlv(uint8_t& band, Bytes tlv);
size_t parseWscTlv(Wsc& wsc, Bytes tlv);
// A text longer than the destination is cut.
size_t parseWscUpdatetimeTlv(Text<32>& updateTime, Bytes tlv);
size_t parsePBEventNtfTlv(PBEventNtf& event, Bytes tlv);
size_t parsePBJoinNtfTlv(PBJoinNtf& join, Bytes tlv);
// Skips a TLV of any other type by its length; rejects without a line what is cut off.
size_t parseUnsupportedTlv(Bytes tlv);
