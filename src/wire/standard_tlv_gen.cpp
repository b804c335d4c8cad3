#include <algorithm>
#include <string_view>

#include "base/log.h"
#include "db/database.h"
#include "db/mesh_macs.h"
#include "wire/standard_tlv.h"

namespace {

constexpr uint8_t kChassisSubtypeMac = 4;
constexpr uint8_t kPortSubtypeMac = 3;
constexpr uint8_t kBridgeFlag = 0x80;

// A TLV with a value of this size in bytes, which write fills. std::nullopt if the size does not
// fit in the length field.
template <typename Write>
std::optional<Tlv> makeTlv(uint8_t type, size_t size, Write&& write) {
    std::optional<Tlv> tlv;
    if (size > kMaxTlvLength) return tlv;
    tlv.emplace();
    tlv->type = type;
    tlv->value = TlvValue(size);
    ByteWriter out(tlv->value);
    write(out);
    return tlv;
}

std::optional<Tlv> makeEmptyTlv(uint8_t type) {
    return makeTlv(type, 0, [](ByteWriter&) {});
}

std::optional<Tlv> makeByteTlv(uint8_t type, uint32_t value) {
    return makeTlv(type, 1, [&](ByteWriter& out) { out.u8(value); });
}

std::optional<Tlv> makeMacTlv(uint8_t type, const MacAddr& mac) {
    return makeTlv(type, 6, [&](ByteWriter& out) { out.mac(mac); });
}

// The first entries of a list, as many as a one-byte count can announce.
template <typename T>
std::span<const T> countable(const std::vector<T>& list) {
    return std::span(list).first(std::min<size_t>(list.size(), 0xFF));
}

// The part-th of the equal parts into which a list is divided so that each fits in a TLV behind its
// head. Empty past the end of the list.
template <typename T>
std::span<const T> partOf(const std::vector<T>& list, size_t part, size_t headSize,
                          size_t entrySize) {
    const size_t most = (kMaxSentTlvLength - headSize) / entrySize;
    const size_t begin = std::min(list.size(), part * most);
    return std::span(list).subspan(begin, std::min(list.size() - begin, most));
}

// A part of the list of neighbors of one kind on an interface.
template <uint8_t kType>
std::optional<Tlv> makeNbrTlv(unsigned index, size_t part) {
    constexpr bool k1905 = kType == kTlv1905Nbr;
    constexpr size_t kEntrySize = k1905 ? 7 : 6;
    const IntfTable* intf = getIntfTableByIndex(index);
    if (intf == nullptr) return std::nullopt;
    std::vector<const IntfNbrDev*> all;
    MeshMacs mesh(*getAlTable());
    for (const auto& nbr : intf->nbrs) {
        if (nbr.is1905 != k1905) continue;
        // A bridge also learns the addresses of the mesh itself, which are no hosts.
        if (k1905 || !mesh.contains(nbr.nbrIntfMac)) all.push_back(&nbr);
    }
    const auto nbrs = partOf(all, part, 6, kEntrySize);
    if (nbrs.empty()) return std::nullopt;
    return makeTlv(kType, 6 + kEntrySize * nbrs.size(), [&](ByteWriter& out) {
        out.mac(intf->mac);
        for (const IntfNbrDev* nbr : nbrs) {
            out.mac(k1905 ? nbr->nbrAlMac : nbr->nbrIntfMac);
            if (k1905) out.u8(nbr->bridgeFlag == 1 ? kBridgeFlag : 0);
        }
    });
}

// A part of the links to a neighbor, whose first part may be empty. Meant: the AL MAC of the
// neighbor stands for that of the transmitter too, because devices of this family send and expect
// it so.
template <typename WriteLink>
std::optional<Tlv> makeMetricTlv(uint8_t type, const LinkMetricInfo& info, size_t part,
                                 size_t linkSize, WriteLink&& writeLink) {
    const auto links = partOf(info.links, part, 12, linkSize);
    if (links.empty() && part > 0) return std::nullopt;
    return makeTlv(type, 12 + linkSize * links.size(), [&](ByteWriter& out) {
        out.mac(info.alMac).mac(info.alMac);
        for (const auto& link : links) {
            out.mac(link.localIntfMac).mac(link.nbrIntfMac).u16(link.mediaType);
            writeLink(out, link);
        }
    });
}

}  // namespace

std::optional<Tlv> genChassisIdTlv() {
    const MacAddr* alMac = getAlMac();
    if (alMac == nullptr) return std::nullopt;
    return makeTlv(kLldpTlvChassisId, 7,
                   [&](ByteWriter& out) { out.u8(kChassisSubtypeMac).mac(*alMac); });
}

std::optional<Tlv> genPortIdTlv(const MacAddr& portMac) {
    return makeTlv(kLldpTlvPortId, 7,
                   [&](ByteWriter& out) { out.u8(kPortSubtypeMac).mac(portMac); });
}

std::optional<Tlv> genTtlTlv() {
    return makeTlv(kLldpTlvTtl, 2, [](ByteWriter& out) { out.u16(kLldpTtl); });
}

std::optional<Tlv> genEndOfLldpduTlv() {
    return makeEmptyTlv(kLldpTlvEnd);
}

std::optional<Tlv> genEndOfMsgTlv() {
    return makeEmptyTlv(kTlvEndOfMsg);
}

std::optional<Tlv> genAlMacTlv() {
    const MacAddr* alMac = getAlMac();
    return alMac == nullptr ? std::nullopt : makeMacTlv(kTlvAlMac, *alMac);
}

std::optional<Tlv> genMacTlv(const MacAddr& mac) {
    return makeMacTlv(kTlvMac, mac);
}

std::optional<Tlv> genDevInfoTlv() {
    const MacAddr* alMac = getAlMac();
    if (alMac == nullptr) return std::nullopt;
    const uint8_t num = getIntfNum();
    const auto& intfs = getIntfTable();
    if (num > intfs.size()) {
        LOG_PUTS(4, "intfTable == NULL \r");
        return std::nullopt;
    }
    size_t size = 7;
    uint32_t fit = 0;
    auto end = intfs.begin();
    for (; fit < num; fit++, ++end) {
        const size_t next = size + 9 + countable(end->mediaInfo).size();
        if (next > kMaxSentTlvLength) break;
        size = next;
    }
    if (fit < num) {
        LOG(2, "the device information is cut to %d of %d interfaces\r\n", static_cast<int>(fit),
            num);
    }
    return makeTlv(kTlvDevInfo, size, [&](ByteWriter& out) {
        out.mac(*alMac).u8(fit);
        for (auto it = intfs.begin(); it != end; ++it) {
            const Bytes info = countable(it->mediaInfo);
            out.mac(it->mac).u16(it->mediaType).u8(static_cast<uint32_t>(info.size())).bytes(info);
        }
    });
}

std::optional<Tlv> genDevBrdgCapTlv() {
    const uint8_t num = getBrdgTupleNum();
    if (num == 0) return std::nullopt;
    std::vector<std::span<const MacAddr>> tuples;
    size_t size = 1;
    bool cut = false;
    for (unsigned i = 0; i < num && size < kMaxSentTlvLength; i++) {
        const auto& macs = getBrdgTupleByIndex(i)->macs;
        const size_t fit = std::min(countable(macs).size(), (kMaxSentTlvLength - size - 1) / 6);
        cut = cut || fit < macs.size();
        if (fit == 0 && !macs.empty()) break;
        tuples.push_back(std::span(macs).first(fit));
        size += 1 + 6 * fit;
    }
    if (cut || tuples.size() < num) {
        LOG(2, "the bridging capability is cut to %d bytes, %d of %d tuples\r\n",
            static_cast<int>(size), static_cast<int>(tuples.size()), num);
    }
    return makeTlv(kTlvDevBrdgCap, size, [&](ByteWriter& out) {
        out.u8(static_cast<uint32_t>(tuples.size()));
        for (const auto& macs : tuples) {
            out.u8(static_cast<uint32_t>(macs.size()));
            for (const auto& mac : macs) out.mac(mac);
        }
    });
}

std::optional<Tlv> genNon1905NbrDevTlv(unsigned index, size_t part) {
    return makeNbrTlv<kTlvNon1905Nbr>(index, part);
}

std::optional<Tlv> gen1905NbrDevTlv(unsigned index, size_t part) {
    return makeNbrTlv<kTlv1905Nbr>(index, part);
}

std::optional<Tlv> genMetricQueryTlv(const MetricQuery& query) {
    // Always the long layout; a query for all neighbors has zeros for the AL MAC.
    return makeTlv(kTlvMetricQuery, 8, [&](ByteWriter& out) {
        out.u8(query.nbrSelector)
            .mac(query.nbrSelector == 1 ? query.nbrAlMac : MacAddr{})
            .u8(query.metrics);
    });
}

std::optional<Tlv> genTxMetricTlv(const LinkMetricInfo& info, size_t part) {
    return makeMetricTlv(kTlvTxMetric, info, part, 29, [](ByteWriter& out, const auto& link) {
        out.u8(link.bridgeFlag).u32(link.txErrors).u32(link.txPackets);
        out.u16(link.throughput).u16(link.availability).u16(link.phyRate);
    });
}

std::optional<Tlv> genRxMetricTlv(const LinkMetricInfo& info, size_t part) {
    return makeMetricTlv(kTlvRxMetric, info, part, 23, [](ByteWriter& out, const auto& link) {
        out.u32(link.rxErrors).u32(link.rxPackets).u8(link.rssi);
    });
}

std::optional<Tlv> genMetricResCodeTlv() {
    return makeByteTlv(kTlvMetricResCode, 0);
}

std::optional<Tlv> genSearchRoleTlv(uint32_t role) {
    return makeByteTlv(kTlvSearchRole, role);
}

std::optional<Tlv> genAutoConfFreqBandTlv(uint32_t band) {
    return makeByteTlv(kTlvAutoConfFreqBand, band);
}

std::optional<Tlv> genSupportedRoleTlv(uint32_t role) {
    return makeByteTlv(kTlvSupportedRole, role);
}

std::optional<Tlv> genSupportedFreqBandTlv(uint32_t band) {
    return makeByteTlv(kTlvSupportedFreqBand, band);
}

std::optional<Tlv> genWscTlv(const Wsc& wsc) {
    return makeTlv(kTlvWsc, wsc.frame.size(), [&](ByteWriter& out) { out.bytes(wsc.frame); });
}

std::optional<Tlv> genWscUpdatetimeTlv(std::string_view updateTime) {
    return makeTlv(kTlvWscUpdateTime, updateTime.size(), [&](ByteWriter& out) {
        for (const char c : updateTime) out.u8(static_cast<uint8_t>(c));
    });
}

std::optional<Tlv> genPBEventNtfTlv(const PBEventNtf& event) {
    const auto mediaTypes = countable(event.mediaTypes);
    size_t size = 1;
    for (const auto& type : mediaTypes) size += 3 + countable(type.info).size();
    return makeTlv(kTlvPBEventNtf, size, [&](ByteWriter& out) {
        out.u8(static_cast<uint32_t>(mediaTypes.size()));
        for (const auto& type : mediaTypes) {
            const Bytes info = countable(type.info);
            out.u16(type.mediaType).u8(static_cast<uint32_t>(info.size())).bytes(info);
        }
    });
}

std::optional<Tlv> genPBJoinNtfTlv(const PBJoinNtf& join) {
    return makeTlv(kTlvPBJoinNtf, 20, [&](ByteWriter& out) {
        out.mac(join.alMac).u16(join.msgId).mac(join.txIntfMac).mac(join.newDevIntfMac);
    });
}
