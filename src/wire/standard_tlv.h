// Codec of the standard TLVs: LLDP and IEEE 1905.1.
//
// A generator adds a TLV to the area of a message, its value in wire order (numbers are
// big-endian). It returns false, and adds nothing, if there is no database, if the TLV would have
// no content, or if its length does not fit. A list that is too long for one TLV leaves in several:
// room is the number of bytes that their values may take, from which they are taken; what does not
// fit is cut. Device information and bridging capability cannot be divided; they are cut to what
// fits. A log line at level 2 says what was cut.
//
// A parser takes the bytes from the header of the TLV to the end of the received message. It
// returns the number of bytes consumed, header included, or 0 if it rejects the TLV, for which it
// logs a line at level 2. A TLV whose length does not cover its fixed part is rejected. Unless
// described otherwise, a parser follows the counts inside the TLV up to the end of the message,
// even beyond the length of the TLV. Parts decoded before a rejection may stay in the destination.
// The parsers of the two end markers return kOk or kFailure instead.
#pragma once

#include <cstdint>
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
    kTlvWscUpdateTime = 80,  // not a standard type
};

inline constexpr uint16_t kLldpTtl = 180;  // seconds; the only value sent and accepted

struct MetricQuery {
    uint8_t nbrSelector = 0;  // 0 all neighbors, 1 one
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
    Text<32> updateTime;  // "" or "0000000000" if there is none
};

// LLDP.
[[nodiscard]] bool genChassisIdTlv(TlvArea& area);
[[nodiscard]] bool genPortIdTlv(TlvArea& area, const MacAddr& portMac);
[[nodiscard]] bool genTtlTlv(TlvArea& area);
[[nodiscard]] bool genEndOfLldpduTlv(TlvArea& area);

// IEEE 1905.1. index is that of a local interface (getIntfTableByIndex).
[[nodiscard]] bool genEndOfMsgTlv(TlvArea& area);
[[nodiscard]] bool genAlMacTlv(TlvArea& area);
[[nodiscard]] bool genMacTlv(TlvArea& area, const MacAddr& mac);
[[nodiscard]] bool genDevInfoTlv(TlvArea& area);
[[nodiscard]] bool genDevBrdgCapTlv(TlvArea& area);
[[nodiscard]] bool genNon1905NbrDevTlv(TlvArea& area, unsigned index, size_t& room);
[[nodiscard]] bool gen1905NbrDevTlv(TlvArea& area, unsigned index, size_t& room);
[[nodiscard]] bool genMetricQueryTlv(TlvArea& area, const MetricQuery& query);
[[nodiscard]] bool genTxMetricTlv(TlvArea& area, const LinkMetricInfo& info, size_t& room);
[[nodiscard]] bool genRxMetricTlv(TlvArea& area, const LinkMetricInfo& info, size_t& room);
[[nodiscard]] bool genMetricResCodeTlv(TlvArea& area);
[[nodiscard]] bool genSearchRoleTlv(TlvArea& area, uint32_t role);         // low 8 bits
[[nodiscard]] bool genAutoConfFreqBandTlv(TlvArea& area, uint32_t band);   // low 8 bits
[[nodiscard]] bool genSupportedRoleTlv(TlvArea& area, uint32_t role);      // low 8 bits
[[nodiscard]] bool genSupportedFreqBandTlv(TlvArea& area, uint32_t band);  // low 8 bits
[[nodiscard]] bool genWscTlv(TlvArea& area, const Wsc& wsc);
[[nodiscard]] bool genWscUpdatetimeTlv(TlvArea& area, std::string_view updateTime);
[[nodiscard]] bool genPBEventNtfTlv(TlvArea& area, const PBEventNtf& event);
[[nodiscard]] bool genPBJoinNtfTlv(TlvArea& area, const PBJoinNtf& join);

// LLDP.
[[nodiscard]] size_t parseChassisIdTlv(MacAddr& mac, Bytes tlv);
[[nodiscard]] size_t parsePortIdTlv(MacAddr& mac, Bytes tlv);
[[nodiscard]] size_t parseTtlTlv(uint16_t& ttl, Bytes tlv);
[[nodiscard]] int parseEndOfLldpduTlv(Bytes tlv);

// IEEE 1905.1.
[[nodiscard]] int parseEndOfMsgTlv(Bytes tlv);
[[nodiscard]] size_t parseAlMacTlv(MacAddr& mac, Bytes tlv);
[[nodiscard]] size_t parseMacTlv(MacAddr& mac, Bytes tlv);
// The four parsers of a topology response reject a TLV with which the device would exceed a limit
// of db/records.h, with a log line that says so. receiverId is stored in the record. It is for the
// caller and has no further meaning.
[[nodiscard]] size_t parseDevInfoTlv(DevTopol& dev, uint16_t receiverId, Bytes tlv);
[[nodiscard]] size_t parseDevBrdgCapTlv(DevTopol& dev, Bytes tlv);
// The length of the TLV determines the number of neighbors. They join those that the record already
// has on the interface.
[[nodiscard]] size_t parseNon1905NbrDevTlv(DevTopol& dev, Bytes tlv);
[[nodiscard]] size_t parse1905NbrDevTlv(DevTopol& dev, Bytes tlv);
// The selector, not the length, determines the layout; in standard mode, the length does.
[[nodiscard]] size_t parseMetricQueryTlv(MetricQuery& query, Bytes tlv);
// Both merge into one link per pair of interfaces. The length of the TLV determines the number of
// links.
[[nodiscard]] size_t parseTxMetricTlv(LinkMetricInfo& info, Bytes tlv);
[[nodiscard]] size_t parseRxMetricTlv(LinkMetricInfo& info, Bytes tlv);
[[nodiscard]] size_t parseMetricResCodeTlv(uint8_t& code, Bytes tlv);
[[nodiscard]] size_t parseSrchRoleTlv(uint8_t& role, Bytes tlv);
[[nodiscard]] size_t parseAutoConfFreqBandTlv(uint8_t& band, Bytes tlv);
[[nodiscard]] size_t parseSupportedRoleTlv(uint8_t& role, Bytes tlv);
[[nodiscard]] size_t parseSupportedFreqBandTlv(uint8_t& band, Bytes tlv);
[[nodiscard]] size_t parseWscTlv(Wsc& wsc, Bytes tlv);
// Cuts a text that is longer than the destination.
[[nodiscard]] size_t parseWscUpdatetimeTlv(Text<32>& updateTime, Bytes tlv);
[[nodiscard]] size_t parsePBEventNtfTlv(PBEventNtf& event, Bytes tlv);
[[nodiscard]] size_t parsePBJoinNtfTlv(PBJoinNtf& join, Bytes tlv);
// Skips a TLV of any other type by its length; rejects one that is cut off, without a log line.
[[nodiscard]] size_t parseUnsupportedTlv(Bytes tlv);
