#include <algorithm>
#include <cstdint>
#include <string_view>

#include "base/log.h"
#include "base/result.h"
#include "db/options.h"
#include "wire/standard_tlv.h"

namespace {

constexpr uint8_t kChassisSubtypeMac = 4;
constexpr uint8_t kPortSubtypeMac = 3;

// Reads a received TLV: its header at once, then its value. A demand that does not hold makes it
// fail like a read past the end, so that a parser needs only one check at its end.
class TlvReader : public ByteReader {
  public:
    explicit TlvReader(Bytes tlv) : ByteReader(tlv), type(u8()), length(u16()) {}

    void demand(bool holds) {
        if (!holds) fail();
    }
    void demand(uint8_t type_, uint16_t length_) { demand(type == type_ && length == length_); }
    void demandAtLeast(uint8_t type_, uint16_t length_) {
        demand(type == type_ && length >= length_);
    }

    const uint8_t type;
    const uint16_t length;
};

// The same for a TLV with an LLDP header.
class LldpTlvReader : public ByteReader {
  public:
    explicit LldpTlvReader(Bytes tlv) : ByteReader(tlv) {
        const uint16_t word = u16();
        type = word >> 9;
        length = word & 0x1FF;
    }

    int type;
    int length;
};

// The result of a parser: the bytes read, or 0 if a read or demand failed. failure is a format for
// the type and the length; the prefix of the log line names the parser.
size_t consumed(const TlvReader& tlv, const char* failure,
                const char* parser = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    if (tlv.ok()) return tlv.position();
    if (DEBUGLEVEL >= 2) {
        logLine(2, parser, line, failure, tlv.type, tlv.length);
    }
    return 0;
}

// Parses a TLV of one byte; out changes only if the TLV is accepted.
size_t readByteTlv(uint8_t& out, Bytes bytes, uint8_t type, const char* failure,
                   const char* parser = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    TlvReader tlv(bytes);
    tlv.demand(type, 1);
    const uint8_t value = tlv.u8();
    if (tlv.ok()) out = value;
    return consumed(tlv, failure, parser, line);
}

// The same for a TLV of one address.
size_t readMacTlv(MacAddr& out, Bytes bytes, uint8_t type, const char* failure,
                  const char* parser = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    TlvReader tlv(bytes);
    tlv.demand(type, 6);
    const MacAddr mac = tlv.mac();
    if (tlv.ok()) out = mac;
    return consumed(tlv, failure, parser, line);
}

// The same for an LLDP TLV of a subtype and an address.
size_t readLldpMacTlv(MacAddr& out, Bytes bytes, int type, uint8_t subtype, const char* failure,
                      const char* parser = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    LldpTlvReader tlv(bytes);
    const uint8_t found = tlv.u8();
    const MacAddr mac = tlv.mac();
    if (tlv.ok() && tlv.type == type && tlv.length == 7 && found == subtype) {
        out = mac;
        return tlv.position();
    }
    // Ordinary switches send other subtypes.
    const int level = tlv.ok() && tlv.type == type && found != subtype ? 4 : 2;
    if (DEBUGLEVEL >= level) {
        logLine(level, parser, line, failure, tlv.type, tlv.length, found);
    }
    return 0;
}

// The number of entries behind the fixed part of a TLV. Meant: modulo 256, because peers count in 8
// bits. The other entries of a longer list are not consumed.
uint8_t entriesAfter(const TlvReader& tlv, unsigned fixed, unsigned entrySize) {
    return static_cast<uint8_t>(tlv.ok() ? (tlv.length - fixed) / entrySize : 0);
}

// Reads the fixed part of a neighbor list TLV and checks that all entries arrived. Returns their
// number, 0 on failure.
uint8_t readNbrListHead(TlvReader& tlv, uint8_t type, unsigned entrySize, MacAddr& localIntfMac) {
    tlv.demandAtLeast(type, 6);
    localIntfMac = tlv.mac();
    const uint8_t num = entriesAfter(tlv, 6, entrySize);
    tlv.demand(size_t{num} * entrySize <= tlv.left());
    return tlv.ok() ? num : uint8_t{0};
}

// Reserves room for more entries. A list that has some at least doubles its capacity, so that it
// grows in linear time if a message repeats a TLV.
template <typename T>
void makeRoom(std::vector<T>& list, size_t more) {
    const size_t needed = list.size() + more;
    if (needed > list.capacity()) {
        list.reserve(list.empty() ? needed : std::max(needed, 2 * list.capacity()));
    }
}

// For a well-formed TLV with more than the record of a device may hold.
size_t refuse(const MacAddr& alMac, const char* parser = __builtin_FUNCTION(),
              int line = __builtin_LINE()) {
    if (DEBUGLEVEL >= 2) {
        logLine(2, parser, line, "the topology of (" MAC_FMT ") is beyond the limits\r\n",
                MAC_ARGS(alMac));
    }
    return 0;
}

// The neighbors on an interface, with room for num more: a long list arrives in several TLVs.
// nullptr if the device would then have too many neighbors or lists.
template <typename List>
auto* nbrsOf(ReusedList<List>& lists, const MacAddr& intfMac, uint8_t num) {
    size_t total = num;
    for (const auto& list : lists) total += list.nbrs.size();
    auto* list = std::ranges::find(lists, intfMac, &List::localIntfMac);
    const bool isNew = list == lists.end();
    if (total > kMaxDevNbrs || (isNew && lists.size() >= kMaxDevEntries)) {
        return static_cast<decltype(&list->nbrs)>(nullptr);
    }
    if (isNew) {
        list = &lists.add();
        list->localIntfMac = intfMac;
        list->nbrs.clear();
    }
    makeRoom(list->nbrs, num);
    return &list->nbrs;
}

// Reads the fixed part of a link-metric TLV and checks that all links arrived. Returns their
// number, 0 on failure. Meant: of the AL MACs of transmitter and neighbor only the second is kept.
uint8_t readMetricHead(TlvReader& tlv, uint8_t type, unsigned linkSize, LinkMetricInfo& info) {
    tlv.demandAtLeast(type, 12);
    tlv.skip(6);
    const MacAddr alMac = tlv.mac();
    const uint8_t num = entriesAfter(tlv, 12, linkSize);
    tlv.demand(size_t{num} * linkSize <= tlv.left());
    if (!tlv.ok()) return 0;
    info.alMac = alMac;
    return num;
}

// Reads the addresses of a link and returns its entry, new if there is none: the transmitter and
// the receiver TLV of a link fill one entry.
LinkMetric& readLink(TlvReader& tlv, LinkMetricInfo& info) {
    const MacAddr local = tlv.mac();
    const MacAddr nbr = tlv.mac();
    for (auto& link : info.links) {
        if (link.localIntfMac == local && link.nbrIntfMac == nbr) return link;
    }
    LinkMetric& link = info.links.emplace_back();
    link.localIntfMac = local;
    link.nbrIntfMac = nbr;
    return link;
}

}  // namespace

size_t parseChassisIdTlv(MacAddr& mac, Bytes tlv) {
    return readLldpMacTlv(
        mac, tlv, kLldpTlvChassisId, kChassisSubtypeMac,
        "incorrect LLDP chassis ID TLV (tlvType = %d, tlvLen = %d, tlvSubtype = %d)\r\n");
}

size_t parsePortIdTlv(MacAddr& mac, Bytes tlv) {
    return readLldpMacTlv(
        mac, tlv, kLldpTlvPortId, kPortSubtypeMac,
        "incorrect LLDP port ID TLV (tlvType = %d, tlvLen = %d, tlvSubtype = %d)\r\n");
}

size_t parseTtlTlv(uint16_t& ttl, Bytes tlv) {
    LldpTlvReader reader(tlv);
    const uint16_t value = reader.u16();
    // Meant: only the time to live that devices of this family send is accepted, unless the frames
    // of all neighbors are read.
    const bool known = value == kLldpTtl || getReadLldpOption();
    if (!reader.ok() || reader.type != kLldpTlvTtl || reader.length != 2 || !known) {
        LOG_PUTS(2, "incorrect LLDP time to live TLV\r");
        return 0;
    }
    ttl = value;
    return reader.position();
}

int parseEndOfLldpduTlv(Bytes tlv) {
    const LldpTlvReader reader(tlv);
    if (!reader.ok() || reader.type != kLldpTlvEnd || reader.length != 0) {
        LOG_PUTS(2, "incorrect LLDP end of message TLV\r");
        return kFailure;
    }
    return kOk;
}

int parseEndOfMsgTlv(Bytes tlv) {
    TlvReader reader(tlv);
    reader.demand(kTlvEndOfMsg, 0);
    return consumed(reader, "TLV (type=%d/len=%d): invalid end of message TLV\r\n") != 0 ? kOk
                                                                                         : kFailure;
}

size_t parseAlMacTlv(MacAddr& mac, Bytes tlv) {
    return readMacTlv(mac, tlv, kTlvAlMac,
                      "TLV (type=%d/len=%d): invalid 1905.1 AL MAC address TLV\r\n");
}

size_t parseMacTlv(MacAddr& mac, Bytes tlv) {
    return readMacTlv(mac, tlv, kTlvMac,
                      "TLV (type=%d/len=%d): invalid 1905.1 MAC address TLV\r\n");
}

size_t parseDevInfoTlv(DevTopol& dev, uint16_t receiverId, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demandAtLeast(kTlvDevInfo, 7);
    const MacAddr alMac = reader.mac();
    const uint8_t num = reader.u8();
    if (dev.intfs.size() + num > kMaxDevEntries) return refuse(alMac);
    if (reader.ok()) {
        dev.alMac = alMac;
        dev.receiverId = receiverId;
    }
    for (unsigned i = 0; i < num && reader.ok(); i++) {
        const MacAddr mac = reader.mac();
        const uint16_t mediaType = reader.u16();
        const Bytes info = reader.take(reader.u8());
        if (!reader.ok()) break;
        DevIntf& intf = dev.intfs.add();
        intf.mac = mac;
        intf.mediaType = mediaType;
        intf.mediaInfo.assign(info.begin(), info.end());
        intf.pwrState = kPwrStateUnknown;
        intf.name.assign({});
    }
    return consumed(reader, "TLV (type=%d/len=%d): invalid 1905.1 device information type TLV\r\n");
}

size_t parseDevBrdgCapTlv(DevTopol& dev, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demandAtLeast(kTlvDevBrdgCap, 1);
    const uint8_t num = reader.u8();
    if (dev.brdgTuples.size() + num > kMaxDevEntries) return refuse(dev.alMac);
    for (unsigned i = 0; i < num && reader.ok(); i++) {
        const size_t macNum = reader.u8();
        if (!reader.ok()) break;
        if (macNum == 0) LOG_PUTS(3, "the number of MAC address in this bridging tuple is 0\r");
        BrdgTuple& tuple = dev.brdgTuples.add();
        const Bytes macs = reader.take(6 * macNum);
        tuple.macs.resize(macs.size() / 6);
        for (size_t m = 0; m < tuple.macs.size(); m++) tuple.macs[m] = MacAddr(&macs[6 * m]);
    }
    return consumed(reader, "TLV (type=%d/len=%d): invalid device bridging capability TLV\r\n");
}

size_t parseNon1905NbrDevTlv(DevTopol& dev, Bytes tlv) {
    TlvReader reader(tlv);
    MacAddr localIntfMac;
    const uint8_t num = readNbrListHead(reader, kTlvNon1905Nbr, 6, localIntfMac);
    if (!reader.ok())
        return consumed(reader,
                        "TLV (type=%d/len=%d): invalid non-1905 neighbor device list TLV\r\n");
    auto* nbrs = nbrsOf(dev.non1905Lists, localIntfMac, num);
    if (nbrs == nullptr) return refuse(dev.alMac);
    for (unsigned i = 0; i < num; i++) nbrs->push_back(reader.mac());
    return reader.position();
}

size_t parse1905NbrDevTlv(DevTopol& dev, Bytes tlv) {
    TlvReader reader(tlv);
    MacAddr localIntfMac;
    const uint8_t num = readNbrListHead(reader, kTlv1905Nbr, 7, localIntfMac);
    if (!reader.ok())
        return consumed(reader,
                        "TLV (type=%d/len=%d): invalid 1905.1 neighbor device list TLV\r\n");
    auto* nbrs = nbrsOf(dev.ieee1905Lists, localIntfMac, num);
    if (nbrs == nullptr) return refuse(dev.alMac);
    for (unsigned i = 0; i < num; i++) {
        const MacAddr alMac = reader.mac();
        nbrs->push_back({alMac, static_cast<uint8_t>(reader.u8() >> 7)});
    }
    return reader.position();
}

size_t parseMetricQueryTlv(MetricQuery& query, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demand(reader.type == kTlvMetricQuery && (reader.length == 2 || reader.length == 8));
    // Meant: outside standard mode the selector determines the layout. A query for all neighbors is
    // then read as the short layout even if it has the length of the long one.
    const uint8_t selector = reader.u8();
    const bool isLong = getStandardOption() ? reader.length == 8 : selector == 1;
    MacAddr alMac = isLong ? reader.mac() : MacAddr{};
    if (selector != 1) alMac = {};
    if (getStandardOption()) reader.demand(selector != 1 || isLong);
    const uint8_t metrics = reader.u8();
    if (reader.ok()) query = {selector, alMac, metrics};
    return consumed(reader, "TLV (type=%d/len=%d): invalid link metric query TLV\r\n");
}

size_t parseTxMetricTlv(LinkMetricInfo& info, Bytes tlv) {
    TlvReader reader(tlv);
    const uint8_t num = readMetricHead(reader, kTlvTxMetric, 29, info);
    for (unsigned i = 0; i < num; i++) {
        LinkMetric& link = readLink(reader, info);
        link.mediaType = reader.u16();
        link.bridgeFlag = reader.u8();
        link.txErrors = reader.u32();
        link.txPackets = reader.u32();
        link.throughput = reader.u16();
        link.availability = reader.u16();
        link.phyRate = reader.u16();
    }
    return consumed(reader, "TLV (type=%d/len=%d): invalid 1905.1 transmitter link metric TLV\r\n");
}

size_t parseRxMetricTlv(LinkMetricInfo& info, Bytes tlv) {
    TlvReader reader(tlv);
    const uint8_t num = readMetricHead(reader, kTlvRxMetric, 23, info);
    for (unsigned i = 0; i < num; i++) {
        LinkMetric& link = readLink(reader, info);
        link.mediaType = reader.u16();
        link.rxErrors = reader.u32();
        link.rxPackets = reader.u32();
        link.rssi = reader.u8();
    }
    return consumed(reader, "TLV (type=%d/len=%d): invalid 1905.1 receiver link metric TLV\r\n");
}

size_t parseMetricResCodeTlv(uint8_t& code, Bytes tlv) {
    return readByteTlv(code, tlv, kTlvMetricResCode,
                       "TLV (type=%d/len=%d): invalid link metric result code TLV\r\n");
}

size_t parseSrchRoleTlv(uint8_t& role, Bytes tlv) {
    return readByteTlv(role, tlv, kTlvSearchRole,
                       "TLV (type=%d/len=%d): invalid link searchRole TLV\r\n");
}

size_t parseAutoConfFreqBandTlv(uint8_t& band, Bytes tlv) {
    return readByteTlv(band, tlv, kTlvAutoConfFreqBand,
                       "TLV (type=%d/len=%d): invalid AutoconfigFreqBand TLV\r\n");
}

size_t parseSupportedRoleTlv(uint8_t& role, Bytes tlv) {
    return readByteTlv(role, tlv, kTlvSupportedRole,
                       "TLV (type=%d/len=%d): invalid link SupportedRole TLV\r\n");
}

size_t parseSupportedFreqBandTlv(uint8_t& band, Bytes tlv) {
    return readByteTlv(band, tlv, kTlvSupportedFreqBand,
                       "TLV (type=%d/len=%d): invalid SupportedFreqBand TLV\r\n");
}

size_t parseWscTlv(Wsc& wsc, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demandAtLeast(kTlvWsc, 0);
    const Bytes frame = reader.take(reader.length);
    if (reader.ok()) wsc.frame.assign(frame.begin(), frame.end());
    // Meant: the text names another TLV.
    return consumed(reader, "TLV (type=%d/len=%d): invalid SupportedFreqBand TLV\r\n");
}

size_t parseWscUpdatetimeTlv(Text<32>& updateTime, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demandAtLeast(kTlvWscUpdateTime, 0);
    const Bytes text = reader.take(reader.length);
    if (reader.ok())
        updateTime = std::string_view(reinterpret_cast<const char*>(text.data()), text.size());
    // Meant: the text names another TLV.
    return consumed(reader, "TLV (type=%d/len=%d): invalid SupportedFreqBand TLV\r\n");
}

size_t parsePBEventNtfTlv(PBEventNtf& event, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demandAtLeast(kTlvPBEventNtf, 1);
    const uint8_t num = reader.u8();
    makeRoom(event.mediaTypes, std::min<size_t>(num, reader.left() / 3));
    for (unsigned i = 0; i < num && reader.ok(); i++) {
        const uint16_t mediaType = reader.u16();
        const Bytes info = reader.take(reader.u8());
        if (reader.ok()) event.mediaTypes.push_back({mediaType, {info.begin(), info.end()}});
    }
    return consumed(reader, "TLV (type=%d/len=%d): invalid Push_Button_Event notification TLV\r\n");
}

size_t parsePBJoinNtfTlv(PBJoinNtf& join, Bytes tlv) {
    TlvReader reader(tlv);
    reader.demand(kTlvPBJoinNtf, 20);
    PBJoinNtf value;
    value.alMac = reader.mac();
    value.msgId = reader.u16();
    value.txIntfMac = reader.mac();
    value.newDevIntfMac = reader.mac();
    if (reader.ok()) join = value;
    return consumed(reader, "TLV (type=%d/len=%d): invalid Push_Button_JOIN notification TLV\r\n");
}

size_t parseUnsupportedTlv(Bytes tlv) {
    TlvReader reader(tlv);
    reader.skip(reader.length);
    if (!reader.ok()) return 0;
    LOG(4, "discard unsupported TLV (type = %d)\r\n", reader.type);
    return reader.position();
}
