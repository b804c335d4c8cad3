#include "wire/standard_tlv.h"

#include <gtest/gtest.h>

#include <functional>

#include "base/result.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "db/local_tables.h"
#include "db/sys_ctrl.h"
#include "support/frames.h"
#include "support/log_capture.h"
#include "support/test_device.h"

namespace {

const MacAddr kMac{1, 2, 3, 4, 5, 6};
const MacAddr kPeer{0x0a, 0x0b, 0x0c, 0x0d, 0x0e, 0x0f};
const std::string kOwnAl = "021905000001";

// Two links, all fields different.
const LinkMetricInfo kLinks{kPeer,
                            {{kMac, kPeer, 0x0105, 1, 0x11121314, 0x21222324, 0x31323334,
                              0x41424344, 0x5152, 0x6162, 0x7172, 0x81},
                             {kMac, {7, 7, 7, 7, 7, 7}, 1, 0, 1, 2, 3, 4, 5, 6, 7, 8}}};
const std::string kTxHex =
    "090046 0a0b0c0d0e0f 0a0b0c0d0e0f"
    "010203040506 0a0b0c0d0e0f 0105 01 11121314 21222324 5152 6162 7172"
    "010203040506 070707070707 0001 00 00000001 00000002 0005 0006 0007";
const std::string kRxHex =
    "0a003a 0a0b0c0d0e0f 0a0b0c0d0e0f"
    "010203040506 0a0b0c0d0e0f 0105 31323334 41424344 81"
    "010203040506 070707070707 0001 00000003 00000004 08";

class StandardTlv : public testing::Test {
  protected:
    void SetUp() override {
        freshDevice();
        auto& intfs = fakePlatform().intfs;
        intfs[0].mediaType = 0x0105;
        intfs[0].mediaInfo = {0xAA, 0xBB};
        intfs[0].nbrs = {{6, 6, 6, 6, 6, 6}, kPeer, {7, 7, 7, 7, 7, 7}, {8, 8, 8, 8, 8, 8}};
        fakePlatform().brdgTuples = {{intfs[0].mac, intfs[1].mac}, {}};
        ASSERT_EQ(initDataManager(), kOk);
        auto& nbrs = getIntfTable().front().nbrs;
        nbrs[1].is1905 = nbrs[3].is1905 = true;
        nbrs[1].nbrAlMac = kPeer;
        nbrs[1].bridgeFlag = 1;
        nbrs[3].nbrAlMac = kMac;
    }
};

// The TLV that a generator adds, empty if none.
template <typename... Args>
Frame made(bool (*generate)(TlvArea&, Args...), std::type_identity_t<Args>... args) {
    TlvArea area;
    const bool isMade = generate(area, args...);
    EXPECT_EQ(isMade, !area.empty());
    return bytesOf(area);
}
using GenNbrs = bool (*)(TlvArea&, unsigned, size_t&);
Frame madeNbrs(GenNbrs generate, unsigned index, size_t room = 100'000) {
    return made(generate, index, room);
}
using GenMetrics = bool (*)(TlvArea&, const LinkMetricInfo&, size_t&);
Frame madeMetrics(GenMetrics generate, const LinkMetricInfo& links, size_t room = 100'000) {
    return made(generate, links, room);
}

// The destination of all parsers.
struct {
    DevTopol dev;
    LinkMetricInfo metrics;
    MetricQuery query;
    PBEventNtf event;
    PBJoinNtf join;
    Wsc wsc;
    Text<32> updateTime;
    MacAddr mac;
    uint16_t ttl;
    uint8_t byte;
} to;

template <typename Destination>
std::function<size_t(Bytes)> into(Destination& destination, size_t (*parse)(Destination&, Bytes)) {
    return [&destination, parse](Bytes bytes) { return parse(destination, bytes); };
}
size_t parseDevInfo(DevTopol& dev, Bytes tlv) {
    return parseDevInfoTlv(dev, 7, tlv);
}

struct TlvCase {
    Frame generated;
    std::string bytes;  // as they should be
    std::function<size_t(Bytes)> parse;
    std::string rejection;  // the log line of the parser, without " TLV"
    unsigned fixed = 0;     // bytes that the length must cover
};

// Checks what each generator writes, that its parser accepts these bytes, and that the parser
// survives all others. Each buffer has exactly the bytes that arrived, so that a sanitizer sees any
// read beyond.
TEST_F(StandardTlv, WrittenAndParsed) {
    const Wsc wsc{{1, 2, 3}, {}};
    const PBEventNtf event{{{0x0105, {0xAA, 0xBB, 0xCC}}, {1, {}}}};
    const PBJoinNtf join{kMac, 0x1234, kPeer, kMac};
    const TlvCase cases[] = {
        {made(genChassisIdTlv), "0207 04" + kOwnAl, into(to.mac, parseChassisIdTlv),
         "incorrect LLDP chassis ID"},
        {made(genPortIdTlv, kMac), "0407 03 010203040506", into(to.mac, parsePortIdTlv),
         "incorrect LLDP port ID"},
        {made(genTtlTlv), "0602 00b4", into(to.ttl, parseTtlTlv), "incorrect LLDP time to live"},
        {made(genAlMacTlv), "010006" + kOwnAl, into(to.mac, parseAlMacTlv),
         "invalid 1905.1 AL MAC address", 6},
        {made(genMacTlv, kMac), "020006 010203040506", into(to.mac, parseMacTlv),
         "invalid 1905.1 MAC address", 6},
        {made(genDevInfoTlv),
         "03001b" + kOwnAl + "02 021905000100 0105 02aabb 021905000101 0001 00",
         into(to.dev, parseDevInfo), "invalid 1905.1 device information type", 7},
        {made(genDevBrdgCapTlv), "04000f 02 02 021905000100 021905000101 00",
         into(to.dev, parseDevBrdgCapTlv), "invalid device bridging capability", 1},
        {madeNbrs(genNon1905NbrDevTlv, 0), "060012 021905000100 060606060606 070707070707",
         into(to.dev, parseNon1905NbrDevTlv), "invalid non-1905 neighbor device list", 6},
        {madeNbrs(gen1905NbrDevTlv, 0), "070014 021905000100 0a0b0c0d0e0f80 01020304050600",
         into(to.dev, parse1905NbrDevTlv), "invalid 1905.1 neighbor device list", 6},
        {made(genMetricQueryTlv, {1, kMac, 2}), "080008 01 010203040506 02",
         into(to.query, parseMetricQueryTlv), "invalid link metric query", 2},
        {madeMetrics(genTxMetricTlv, kLinks), kTxHex, into(to.metrics, parseTxMetricTlv),
         "invalid 1905.1 transmitter link metric", 12},
        {madeMetrics(genRxMetricTlv, kLinks), kRxHex, into(to.metrics, parseRxMetricTlv),
         "invalid 1905.1 receiver link metric", 12},
        {made(genMetricResCodeTlv), "0c0001 00", into(to.byte, parseMetricResCodeTlv),
         "invalid link metric result code", 1},
        {made(genSearchRoleTlv, 0x1FE), "0d0001 fe", into(to.byte, parseSrchRoleTlv),
         "invalid link searchRole", 1},
        {made(genAutoConfFreqBandTlv, 1), "0e0001 01", into(to.byte, parseAutoConfFreqBandTlv),
         "invalid AutoconfigFreqBand", 1},
        {made(genSupportedRoleTlv, 2), "0f0001 02", into(to.byte, parseSupportedRoleTlv),
         "invalid link SupportedRole", 1},
        {made(genSupportedFreqBandTlv, 3), "100001 03", into(to.byte, parseSupportedFreqBandTlv),
         "invalid SupportedFreqBand", 1},
        // Meant: these two log the text of the one above.
        {made(genWscTlv, wsc), "110003 010203", into(to.wsc, parseWscTlv),
         "invalid SupportedFreqBand"},
        {made(genWscUpdatetimeTlv, "2024010203"), "50000a 32303234303130323033",
         into(to.updateTime, parseWscUpdatetimeTlv), "invalid SupportedFreqBand"},
        {made(genPBEventNtfTlv, event), "12000a 02 0105 03 aabbcc 0001 00",
         into(to.event, parsePBEventNtfTlv), "invalid Push_Button_Event notification", 1},
        {made(genPBJoinNtfTlv, join), "130014 010203040506 1234 0a0b0c0d0e0f 010203040506",
         into(to.join, parsePBJoinNtfTlv), "invalid Push_Button_JOIN notification", 20}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.bytes);
        const Frame valid = hex(c.bytes);
        EXPECT_EQ(c.generated, valid);
        LogCapture log(2);
        to = {};
        EXPECT_EQ(c.parse(valid), valid.size());
        EXPECT_EQ(c.parse(valid + hex("deadbeef")), valid.size());
        EXPECT_EQ(log.text(), "");
        for (size_t size = 0; size < valid.size(); size++) {
            EXPECT_EQ(c.parse(Frame(valid.begin(), valid.begin() + static_cast<long>(size))), 0U);
        }
        Frame foreign = valid;
        foreign[0] ^= 0x80;
        EXPECT_EQ(c.parse(foreign), 0U);
        EXPECT_EQ(occurrences(log.text(), c.rejection + " TLV"), valid.size() + 1);

        if (c.fixed > 0) {  // enough zeros for the entries of a negative count
            EXPECT_EQ(c.parse(Frame{valid[0]} + be16(c.fixed - 1) + Frame(0x4000)), 0U);
        }
        for (const unsigned length : {0U, 5U, 6U, 11U, 0x7FU, 0x100U, 0xFFFFU}) {
            const Frame odd =
                Frame{valid[0]} + be16(length) + Frame(valid.begin() + 3, valid.end());
            EXPECT_LE(c.parse(odd), odd.size());
            EXPECT_LE(parseUnsupportedTlv(odd), odd.size());
        }
        for (size_t at = 3; at < valid.size(); at++) {
            Frame odd = valid;
            odd[at] = 0xFF;  // also every count
            EXPECT_LE(c.parse(odd), odd.size());
        }
    }
}

TEST_F(StandardTlv, EmptyAndOversizedOnes) {
    EXPECT_EQ(made(genEndOfLldpduTlv), hex("0000"));
    EXPECT_EQ(made(genEndOfMsgTlv), hex("000000"));
    EXPECT_EQ(made(genMetricQueryTlv, {0, kMac, 1}), hex("080008 00 000000000000 01"));
    EXPECT_EQ(madeMetrics(genTxMetricTlv, {kMac, {}}), hex("09000c 010203040506 010203040506"));
    EXPECT_EQ(madeNbrs(genNon1905NbrDevTlv, 1), Frame{}) << "no neighbors";
    EXPECT_EQ(madeNbrs(genNon1905NbrDevTlv, 2), Frame{}) << "no interface";
    fakePlatform().intfs.resize(3);
    EXPECT_EQ(made(genDevInfoTlv), Frame{}) << "the platform has more interfaces than the table";
    fakePlatform().brdgTuples.clear();
    (void)requestUpdateBrdgCap();
    EXPECT_EQ(made(genDevBrdgCapTlv), Frame{});
    EXPECT_EQ(made(genWscTlv, {std::vector<uint8_t>(0x10000), {}}), Frame{})
        << "more than 16 bits of length";
}

// Lists leave in parts, and the reader joins them. What has no parts is cut.
TEST_F(StandardTlv, LongOnesFit) {
    auto& nbrs = getIntfTable().front().nbrs;
    LinkMetricInfo links{kMac, std::vector<LinkMetric>(100)};
    for (uint8_t i = 0; i < 250; i++) {
        nbrs.push_back({.nbrAlMac = {9, 0, 0, 0, 2, i}, .is1905 = true});
        nbrs.push_back({.nbrIntfMac = {9, 0, 0, 0, 0, i}});
        links.links[i % 100].nbrIntfMac.b[5] = i % 100;
    }
    DevTopol dev;
    LinkMetricInfo metrics;
    std::string parts;
    // False if the reader rejects a TLV.
    const auto send = [&](const Frame& tlvs, auto& record, auto parse) {
        Bytes area(tlvs);
        return walkTlvs(area, [&](Bytes tlv) {
            parts += std::to_string(tlv[0]) + ":" + std::to_string(flatSize1905(tlv)) + " ";
            return parse(record, tlv);
        });
    };
    EXPECT_TRUE(send(madeNbrs(genNon1905NbrDevTlv, 0), dev, parseNon1905NbrDevTlv));
    EXPECT_TRUE(send(madeNbrs(gen1905NbrDevTlv, 0), dev, parse1905NbrDevTlv));
    EXPECT_TRUE(send(madeMetrics(genTxMetricTlv, links), metrics, parseTxMetricTlv));
    EXPECT_TRUE(send(madeMetrics(genRxMetricTlv, links), metrics, parseRxMetricTlv));
    EXPECT_EQ(parts, "6:1395 6:135 7:1395 7:387 9:1378 9:1378 9:189 10:1395 10:935 ");
    EXPECT_EQ(dev.non1905Lists[0].nbrs.size() + dev.ieee1905Lists[0].nbrs.size(), 2U * 252);
    EXPECT_EQ(metrics.links.size(), 100U);

    LogCapture log(2);
    for (uint8_t i = 2; i < 200; i++) {
        fakePlatform().intfs.push_back({"eth" + std::to_string(i), {9, 0, 0, 0, 1, i}});
        getIntfTable().emplace_back().mac = {9, 0, 0, 0, 1, i};
    }
    EXPECT_TRUE(send(made(genDevInfoTlv), dev, parseDevInfo));
    EXPECT_EQ(dev.intfs.size(), 154U);
    getAlTable()->brdgTuples = {{{kMac}}, {std::vector<MacAddr>(240)}, {{kMac}}};
    EXPECT_TRUE(send(made(genDevBrdgCapTlv), dev, parseDevBrdgCapTlv));
    EXPECT_EQ(dev.brdgTuples[1].macs.size(), 231U);
    EXPECT_EQ(occurrences(log.text(), " is cut to "), 2U);
    EXPECT_EQ(madeNbrs(genNon1905NbrDevTlv, 0, 1400).size(), 1395U);
    EXPECT_EQ(occurrences(log.text(), "the list of neighbors is cut"), 1U);
    // A record that would be too long is refused as such.
    nbrs.resize(4300, nbrs.back());
    EXPECT_FALSE(send(madeNbrs(genNon1905NbrDevTlv, 0), dev, parseNon1905NbrDevTlv));
    EXPECT_EQ(dev.non1905NbrNum(), 252U + 16 * 231);
    const std::string said = log.text();
    EXPECT_EQ(occurrences(said, "beyond the limits"), 1U);
    EXPECT_EQ(occurrences(said, "invalid"), 0U);
}

TEST_F(StandardTlv, DecodedContentIsWhatWasEncoded) {
    DevTopol dev;
    (void)parseDevInfoTlv(dev, 7, made(genDevInfoTlv));
    ASSERT_EQ(dev.intfs.size(), 2U);
    EXPECT_EQ(dev.intfs[0].mediaInfo, (MediaInfo{0xAA, 0xBB}));
    EXPECT_EQ(dev.intfs[0].pwrState, 255);
    for (int i = 0; i < 2; i++) (void)parseDevBrdgCapTlv(dev, made(genDevBrdgCapTlv));
    ASSERT_EQ(dev.brdgTuples.size(), 4U) << "a repeated TLV adds its tuples";
    EXPECT_EQ(dev.brdgTuples[2].macs, fakePlatform().brdgTuples[0]);
    (void)parseNon1905NbrDevTlv(dev, madeNbrs(genNon1905NbrDevTlv, 0));
    ASSERT_EQ(dev.non1905Lists.size(), 1U);
    EXPECT_EQ(dev.non1905Lists[0].localIntfMac, dev.intfs[0].mac);
    EXPECT_EQ(dev.non1905Lists[0].nbrs,
              (std::vector<MacAddr>{{6, 6, 6, 6, 6, 6}, {7, 7, 7, 7, 7, 7}}));
    (void)parse1905NbrDevTlv(dev, madeNbrs(gen1905NbrDevTlv, 0));
    ASSERT_EQ(dev.ieee1905NbrNum(), 2U);
    EXPECT_EQ(dev.ieee1905Lists[0].nbrs[0].alMac, kPeer);
    EXPECT_EQ(dev.ieee1905Lists[0].nbrs[0].bridgeFlag, 1);
    EXPECT_EQ(dev.ieee1905Lists[0].nbrs[1].bridgeFlag, 0);
    (void)parseWscUpdatetimeTlv(to.updateTime, tlvBytes(kTlvWscUpdateTime, Frame(40, '7')));
    EXPECT_EQ(to.updateTime, std::string(31, '7'));
}

TEST(StandardTlvParsers, LinkMetricsMergeByInterfacePair) {
    LinkMetricInfo info;
    (void)parseTxMetricTlv(info, hex(kTxHex));
    (void)parseRxMetricTlv(info, hex(kRxHex));
    ASSERT_EQ(info.links.size(), 2U);
    EXPECT_EQ(madeMetrics(genTxMetricTlv, info), hex(kTxHex));
    EXPECT_EQ(madeMetrics(genRxMetricTlv, info), hex(kRxHex));
    // Meant: the second of two different AL MACs is kept.
    EXPECT_EQ(parseTxMetricTlv(info, hex("09000c 070707070707 010203040506")), 15U);
    EXPECT_EQ(info.alMac, kMac);
}

TEST(StandardTlvParsers, UnusualForms) {
    MetricQuery q;
    EXPECT_EQ(parseMetricQueryTlv(q, hex("080002 01 010203040506 02")), 11U);
    EXPECT_EQ(q.nbrAlMac, kMac);
    EXPECT_EQ(q.metrics, 2);
    EXPECT_EQ(parseMetricQueryTlv(q, hex("080008 00 01 0203040506 02")), 5U);
    EXPECT_EQ(q.metrics, 1);
    EXPECT_EQ(parseMetricQueryTlv(q, hex("080003 00 01 02")), 0U);

    Ieee1905DevTable d;
    EXPECT_EQ(parseNon1905NbrDevTlv(d, hex("06000b 010203040506 0102030405")), 9U);
    EXPECT_EQ(parse1905NbrDevTlv(d, hex("07000c 010203040506 010203040506")), 9U);
    EXPECT_EQ(d.non1905NbrNum(), 0U);
    // Meant: 258 neighbors count as 2.
    EXPECT_EQ(parseNon1905NbrDevTlv(d, tlvBytes(kTlvNon1905Nbr, Frame(6 + 6 * 258, 1))), 21U);
    EXPECT_EQ(d.non1905NbrNum(), 2U);
    EXPECT_EQ(parseDevBrdgCapTlv(d, hex("040002 01 00")), 5U) << "an empty tuple";

    uint16_t seconds = 0;
    EXPECT_EQ(parseTtlTlv(seconds, hex("0602 0078")), 0U);  // 120
    MacAddr id;
    EXPECT_EQ(parseChassisIdTlv(id, hex("0207 07 010203040506")), 0U);
    EXPECT_EQ(parseChassisIdTlv(id, hex("0208 04 010203040506 00")), 0U);
    EXPECT_TRUE(id.isZero());

    EXPECT_EQ(parseEndOfLldpduTlv(hex("0000")), kOk);
    for (const char* bad : {"", "00", "0001", "0200"}) {
        EXPECT_EQ(parseEndOfLldpduTlv(hex(bad)), kFailure) << bad;
    }
}

TEST_F(StandardTlv, MetricsInStandardMode) {
    getSysCtrl().config.standard1905 = 1;
    EXPECT_EQ(made(genMetricQueryTlv, {0, kMac, 1}), hex("080002 00 01"));
    EXPECT_EQ(made(genMetricQueryTlv, {1, kMac, 2}), hex("080008 01 010203040506 02"));
    EXPECT_EQ(madeMetrics(genRxMetricTlv, {kMac, {}}),
              hex("0a000c") + bytesOf(*getAlMac()) + bytesOf(kMac));
    LinkMetricInfo links{kMac, std::vector<LinkMetric>(2)};
    links.links[0].phyRate = 1000;
    links.links[1].mediaType = 0x103;
    const Frame tx = madeMetrics(genTxMetricTlv, links), rx = madeMetrics(genRxMetricTlv, links);
    EXPECT_EQ(print({tx[42], tx[43], tx[71], tx[72], rx[37], rx[60]}), "03e8ffffff00");
    MetricQuery q;
    EXPECT_EQ(parseMetricQueryTlv(q, hex("080008 00 010203040506 02")), 11U);
    EXPECT_EQ(std::pair(q.nbrAlMac.isZero(), q.metrics), std::pair(true, uint8_t{2}));
    EXPECT_EQ(parseMetricQueryTlv(q, hex("080002 01 010203040506 02")), 0U) << "no neighbor";
    getSysCtrl().config.standard1905 = 0;  // the device serves the next test, too
}

}  // namespace
