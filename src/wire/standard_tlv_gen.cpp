#include <algorithm>
#include <string_view>

#include "base/log.h"
#include "db/database.h"
#include "db/mesh_macs.h"
#include "db/options.h"
#include "wire/standard_tlv.h"

namespace {

constexpr uint8_t kChassisSubtypeMac = 4;
constexpr uint8_t kPortSubtypeMac = 3;
constexpr uint8_t kBridgeFlag = 0x80;

bool addByteTlv(TlvArea& area, uint8_t type, uint32_t value) {
    return add1905Tlv(area, type, 1, [&](ByteWriter& out) { out.u8(value); });
}

bool addMacTlv(TlvArea& area, uint8_t type, const MacAddr& mac) {
    return add1905Tlv(area, type, 6, [&](ByteWriter& out) { out.mac(mac); });
}

bool addLldpMacTlv(TlvArea& area, uint8_t type, uint8_t subtype, const MacAddr& mac) {
    uint8_t value[7] = {subtype};
    mac.copyTo(value + 1);
    return flattenLldpTlv(area, type, value);
}

// The first entries of a list, as many as a one-byte count can announce.
template <typename T>
std::span<const T> countable(const std::vector<T>& list) {
    return std::span(list).first(std::min<size_t>(list.size(), 0xFF));
}

// Adds a list as TLVs that are as long as can be sent. writeHead writes what each begins with, and
// writeNext writes the next entry, of at most entrySize bytes, or returns false at the end of the
// list. room is the number of bytes that the values may take; what is beyond is cut.
template <typename WriteHead, typename WriteNext>
bool addList(TlvArea& area, uint8_t type, size_t entrySize, size_t& room, WriteHead&& writeHead,
             WriteNext&& writeNext) {
    const size_t begin = area.size();
    for (bool more = true; more;) {
        const size_t before = area.size();
        bool isEmpty = true;
        (void)add1905Tlv(area, type, kMaxSentTlvLength, [&](ByteWriter& out) {
            writeHead(out);
            while (out.position() + entrySize <= kMaxSentTlvLength && (more = writeNext(out))) {
                isEmpty = false;
            }
        });
        if (isEmpty) area.cut(before);
        if (isEmpty) break;
        const size_t size = area.size() - before - k1905TlvHeaderLen;
        if (size > room) {
            LOG_PUTS(2, "the list of neighbors is cut\r");
            area.cut(before);
            room = 0;
            break;
        }
        room -= size;
    }
    return area.size() > begin;
}

template <uint8_t kType>
bool addNbrTlvs(TlvArea& area, unsigned index, size_t& room) {
    constexpr bool k1905 = kType == kTlv1905Nbr;
    const IntfTable* intf = getIntfTableByIndex(index);
    if (intf == nullptr) return false;
    auto nbr = intf->nbrs.begin();
    const auto isListed = [&] {
        // A bridge also learns the addresses of the mesh itself, which are no hosts.
        return nbr->is1905 == k1905 && (k1905 || !isMeshMac(nbr->nbrIntfMac));
    };
    return addList(
        area, kType, k1905 ? 7 : 6, room, [&](ByteWriter& out) { out.mac(intf->mac); },
        [&](ByteWriter& out) {
            while (nbr != intf->nbrs.end() && !isListed()) ++nbr;
            if (nbr == intf->nbrs.end()) return false;
            out.mac(k1905 ? nbr->nbrAlMac : nbr->nbrIntfMac);
            if (k1905) out.u8(nbr->bridgeFlag == 1 ? kBridgeFlag : 0);
            ++nbr;
            return true;
        });
}

// Adds the links to a neighbor. Meant: the AL MAC of the neighbor stands for that of the
// transmitter too, because devices of this family send and expect it so.
template <typename WriteLink>
bool addMetricTlvs(TlvArea& area, uint8_t type, const LinkMetricInfo& info, size_t linkSize,
                   size_t& room, WriteLink&& writeLink) {
    const MacAddr* const own = getStandardOption() ? getAlMac() : nullptr;
    const MacAddr& sender = own != nullptr ? *own : info.alMac;
    const auto writeHead = [&](ByteWriter& out) { out.mac(sender).mac(info.alMac); };
    if (info.links.empty()) return add1905Tlv(area, type, 12, writeHead);
    auto link = info.links.begin();
    return addList(area, type, linkSize, room, writeHead, [&](ByteWriter& out) {
        if (link == info.links.end()) return false;
        out.mac(link->localIntfMac).mac(link->nbrIntfMac).u16(link->mediaType);
        writeLink(out, *link++);
        return true;
    });
}

// Only these have an RSSI and, in standard mode, no PHY rate.
bool isWifi(const LinkMetric& link) {
    return link.mediaType >> 8 == 1;
}

}  // namespace

bool genChassisIdTlv(TlvArea& area) {
    const MacAddr* alMac = getAlMac();
    return alMac != nullptr && addLldpMacTlv(area, kLldpTlvChassisId, kChassisSubtypeMac, *alMac);
}

bool genPortIdTlv(TlvArea& area, const MacAddr& portMac) {
    return addLldpMacTlv(area, kLldpTlvPortId, kPortSubtypeMac, portMac);
}

bool genTtlTlv(TlvArea& area) {
    constexpr uint8_t kTtl[] = {kLldpTtl >> 8, kLldpTtl & 0xFF};
    return flattenLldpTlv(area, kLldpTlvTtl, kTtl);
}

bool genEndOfLldpduTlv(TlvArea& area) {
    return flattenLldpTlv(area, kLldpTlvEnd, {});
}

bool genEndOfMsgTlv(TlvArea& area) {
    return flatten1905Tlv(area, kTlvEndOfMsg, {});
}

bool genAlMacTlv(TlvArea& area) {
    const MacAddr* alMac = getAlMac();
    return alMac != nullptr && addMacTlv(area, kTlvAlMac, *alMac);
}

bool genMacTlv(TlvArea& area, const MacAddr& mac) {
    return addMacTlv(area, kTlvMac, mac);
}

bool genDevInfoTlv(TlvArea& area) {
    const MacAddr* alMac = getAlMac();
    if (alMac == nullptr) return false;
    const uint8_t num = getIntfNum();
    const auto& intfs = getIntfTable();
    if (num > intfs.size()) {
        LOG_PUTS(4, "intfTable == NULL \r");
        return false;
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
    return add1905Tlv(area, kTlvDevInfo, size, [&](ByteWriter& out) {
        out.mac(*alMac).u8(fit);
        for (auto it = intfs.begin(); it != end; ++it) {
            const Bytes info = countable(it->mediaInfo);
            out.mac(it->mac).u16(it->mediaType).u8(static_cast<uint32_t>(info.size())).bytes(info);
        }
    });
}

bool genDevBrdgCapTlv(TlvArea& area) {
    const uint8_t num = getBrdgTupleNum();
    if (num == 0) return false;
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
    return add1905Tlv(area, kTlvDevBrdgCap, size, [&](ByteWriter& out) {
        out.u8(static_cast<uint32_t>(tuples.size()));
        for (const auto& macs : tuples) {
            out.u8(static_cast<uint32_t>(macs.size()));
            for (const auto& mac : macs) out.mac(mac);
        }
    });
}

bool genNon1905NbrDevTlv(TlvArea& area, unsigned index, size_t& room) {
    return addNbrTlvs<kTlvNon1905Nbr>(area, index, room);
}

bool gen1905NbrDevTlv(TlvArea& area, unsigned index, size_t& room) {
    return addNbrTlvs<kTlv1905Nbr>(area, index, room);
}

bool genMetricQueryTlv(TlvArea& area, const MetricQuery& query) {
    if (getStandardOption() && query.nbrSelector != 1) {
        return add1905Tlv(area, kTlvMetricQuery, 2,
                          [&](ByteWriter& out) { out.u8(query.nbrSelector).u8(query.metrics); });
    }
    // Always the long layout; a query for all neighbors has zeros for the AL MAC.
    return add1905Tlv(area, kTlvMetricQuery, 8, [&](ByteWriter& out) {
        out.u8(query.nbrSelector)
            .mac(query.nbrSelector == 1 ? query.nbrAlMac : MacAddr{})
            .u8(query.metrics);
    });
}

bool genTxMetricTlv(TlvArea& area, const LinkMetricInfo& info, size_t& room) {
    return addMetricTlvs(area, kTlvTxMetric, info, 29, room,
                         [](ByteWriter& out, const LinkMetric& link) {
                             out.u8(link.bridgeFlag).u32(link.txErrors).u32(link.txPackets);
                             out.u16(link.throughput).u16(link.availability);
                             out.u16(isWifi(link) && getStandardOption() ? 0xFFFFU : link.phyRate);
                         });
}

bool genRxMetricTlv(TlvArea& area, const LinkMetricInfo& info, size_t& room) {
    return addMetricTlvs(area, kTlvRxMetric, info, 23, room,
                         [](ByteWriter& out, const LinkMetric& link) {
                             out.u32(link.rxErrors).u32(link.rxPackets);
                             out.u8(isWifi(link) || !getStandardOption() ? link.rssi : 0xFFU);
                         });
}

bool genMetricResCodeTlv(TlvArea& area) {
    return addByteTlv(area, kTlvMetricResCode, 0);
}

bool genSearchRoleTlv(TlvArea& area, uint32_t role) {
    return addByteTlv(area, kTlvSearchRole, role);
}

bool genAutoConfFreqBandTlv(TlvArea& area, uint32_t band) {
    return addByteTlv(area, kTlvAutoConfFreqBand, band);
}

bool genSupportedRoleTlv(TlvArea& area, uint32_t role) {
    return addByteTlv(area, kTlvSupportedRole, role);
}

bool genSupportedFreqBandTlv(TlvArea& area, uint32_t band) {
    return addByteTlv(area, kTlvSupportedFreqBand, band);
}

bool genWscTlv(TlvArea& area, const Wsc& wsc) {
    return flatten1905Tlv(area, kTlvWsc, wsc.frame);
}

bool genWscUpdatetimeTlv(TlvArea& area, std::string_view updateTime) {
    return add1905Tlv(area, kTlvWscUpdateTime, updateTime.size(), [&](ByteWriter& out) {
        for (const char c : updateTime) out.u8(static_cast<uint8_t>(c));
    });
}

bool genPBEventNtfTlv(TlvArea& area, const PBEventNtf& event) {
    const auto mediaTypes = countable(event.mediaTypes);
    size_t size = 1;
    for (const auto& type : mediaTypes) size += 3 + countable(type.info).size();
    return add1905Tlv(area, kTlvPBEventNtf, size, [&](ByteWriter& out) {
        out.u8(static_cast<uint32_t>(mediaTypes.size()));
        for (const auto& type : mediaTypes) {
            const Bytes info = countable(type.info);
            out.u16(type.mediaType).u8(static_cast<uint32_t>(info.size())).bytes(info);
        }
    });
}

bool genPBJoinNtfTlv(TlvArea& area, const PBJoinNtf& join) {
    return add1905Tlv(area, kTlvPBJoinNtf, 20, [&](ByteWriter& out) {
        out.mac(join.alMac).u16(join.msgId).mac(join.txIntfMac).mac(join.newDevIntfMac);
    });
}
