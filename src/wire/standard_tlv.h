// Codec of the standard TLVs: LLDP and IEEE 1905.1.
//
// A generator returns a TLV whose value is in wire order (numbers are big-endian). It returns
// std::nullopt if there is no database, if the TLV would have no content, or if its length does not
// fit. A list that is too long for one TLV is divided into parts, each a TLV of its own: part
// counts from 0, and there is no TLV past the last part. Device information and bridging capability
// cannot be divided; they are cut to what fits, with a log line at level 2.
//
// A parser takes the bytes from the header of the TLV to the end of the received message. It
// returns the number of bytes consumed, header included, or 0 if it rejects the TLV, for which it
// logs a line at level 2. A TLV whose length does not cover its fixed part is rejected. Unless
// described otherwise, a parser follows the counts inside the TLV up to the end of the message,
// even beyond the length of the TLV. Parts decoded before a rejection may stay in the destination.
// The parsers of the two end markers return kOk or kFailure instead.
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
[[nodiscard]] std::optional<Tlv> genChassisIdTlv();
[[nodiscard]] std::optional<Tlv> genPortIdTlv(const MacAddr& portMac);
[[nodiscard]] std::optional<Tlv> genTtlTlv();
[[nodiscard]] std::optional<Tlv> genEndOfLldpduTlv();

// IEEE 1905.1. index is that of a local interface (getIntfTableByIndex).
[[nodiscard]] std::optional<Tlv> genEndOfMsgTlv();
[[nodiscard]] std::optional<Tlv> genAlMacTlv();
[[nodiscard]] std::optional<Tlv> genMacTlv(const MacAddr& mac);
[[nodiscard]] std::optional<Tlv> genDevInfoTlv();
[[nodiscard]] std::optional<Tlv> genDevBrdgCapTlv();
[[nodiscard]] std::optional<Tlv> genNon1905NbrDevTlv(unsigned index, size_t part = 0);
[[nodiscard]] std::optional<Tlv> gen1905NbrDevTlv(unsigned index, size_t part = 0);
[[nodiscard]] std::optional<Tlv> genMetricQueryTlv(const MetricQuery& query);
[[nodiscard]] std::optional<Tlv> genTxMetricTlv(const LinkMetricInfo& info, size_t part = 0);
[[nodiscard]] std::optional<Tlv> genRxMetricTlv(const LinkMetricInfo& info, size_t part = 0);
[[nodiscard]] std::optional<Tlv> genMetricResCodeTlv();
[[nodiscard]] std::optional<Tlv> genSearchRoleTlv(uint32_t role);         // low 8 bits
[[nodiscard]] std::optional<Tlv> genAutoConfFreqBandTlv(uint32_t band);   // low 8 bits
[[nodiscard]] std::optional<Tlv> genSupportedRoleTlv(uint32_t role);      // low 8 bits
[[nodiscard]] std::optional<Tlv> genSupportedFreqBandTlv(uint32_t band);  // low 8 bits
[[nodiscard]] std::optional<Tlv> genWscTlv(const Wsc& wsc);
[[nodiscard]] std::optional<Tlv> genWscUpdatetimeTlv(std::string_view updateTime);
[[nodiscard]] std::optional<Tlv> genPBEventNtfTlv(const PBEventNtf& event);
[[nodiscard]] std::optional<Tlv> genPBJoinNtfTlv(const PBJoinNtf& join);

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
// The selector, not the length, determines the layout.
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
