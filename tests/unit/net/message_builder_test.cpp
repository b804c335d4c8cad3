#include "net/message_builder.h"

#include "db/database.h"
#include "db/neighbor_aging.h"
#include "support/device.h"

namespace {

TEST(Frame, TlvsAreTheseBytes) {
    TlvArea area;
    EXPECT_TRUE(flatten1905Tlv(area, 5, Frame(300, 1)));
    EXPECT_TRUE(flattenLldpTlv(area, 3, Frame(300, 2)));
    EXPECT_FALSE(flattenLldpTlv(area, 3, Frame(512, 2))) << "9 bits of length";
    EXPECT_FALSE(flatten1905Tlv(area, 5, Frame(0x10000, 1))) << "16 bits";
    EXPECT_FALSE(add1905Tlv(area, 5, 2, [](ByteWriter& out) { out.u32(1); })) << "no room";
    EXPECT_EQ(bytesOf(area), hex("05 012c") + Frame(300, 1) + hex("072c") + Frame(300, 2));
}

class Builder : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        fakePlatform().intfs[0].nbrs = {peer(1).intf};
        fakePlatform().intfs[1].nbrs = {peer(2).intf, peer(3).intf};
        start();
        (void)updateTopolInfo(kNbrDiscovery, "eth1", kEth1, kMedia, peer(2).al, peer(2).intf);
        (void)updateNbrDevTable(kNbrDiscovery, peer(2).al);
        (void)updateNbrDevTable(kNbrDiscovery, peer(4).al);
    }
    // The types of the TLVs, then r if it is relayed and q if it expects a response.
    std::string build(uint16_t type, const MsgBody& body) {
        MsgTraits traits{true, true};
        gen1905Msg(port("eth1"), type, body, area_, traits);
        std::string text;
        sizes_.clear();
        Bytes rest = area_.bytes();
        EXPECT_TRUE(walkTlvs(rest, [&](Bytes tlv) {
            text += std::to_string(tlv[0]) + " ";
            sizes_.push_back(flatSize1905(tlv));
            return sizes_.back();
        }));
        return text + (traits.relay ? "r" : "") + (traits.expectsResponse ? "q" : "");
    }
    TlvArea area_;
    std::vector<size_t> sizes_;
};

TEST_F(Builder, MessagesCarryTheseTlvs) {
    const MetricQuery query;
    const RoleBand info;
    const PBEventNtf event;
    const PBJoinNtf join;
    const Wsc dated{{1, 2}, Text<32>("2024010112")}, undated, zero{{1}, Text<32>("0000000000")};
    const std::tuple<uint16_t, MsgBody, std::string> typeBodyTlvs[] = {
        {0, {}, "1 2 "},
        {1, {}, "1 2 r"},
        {2, {}, "1 q"},
        {3, {}, "3 6 6 7 1 "},
        {4, {}, "r"},
        {5, metricQueryBody(query), "8 q"},
        {5, {}, "q"},
        {7, apSearchBody(info), "1 13 14 rq"},
        {8, apSupportedBody(info), "1 15 16 "},
        {9, wscBody(dated), "1 17 80 "},
        {9, wscBody(undated), "1 17 "},
        {9, wscBody(zero), "1 17 "},
        {10, apSupportedBody(info), "1 15 16 r"},
        {11, pbEventBody(event), "1 18 r"},
        {12, pbJoinBody(join), "1 19 r"},
        {13, {}, ""}};
    for (const auto& [type, body, tlvs] : typeBodyTlvs) EXPECT_EQ(build(type, body), tlvs) << type;
    (void)build(0, {});
    EXPECT_EQ(bytesOf(area_), macTlv(1, kOwnAl) + macTlv(2, kEth1)) << "the MAC of the port";
    getAlTable()->brdgTuples = {{{kEth0, kEth1}}};
    noteTopologyChange();
    EXPECT_EQ(build(3, {}), "3 4 6 6 7 1 ");
    auto& nbrs = getIntfTable().front().nbrs;
    nbrs.resize(300, nbrs.front());
    noteTopologyChange();
    EXPECT_EQ(build(3, {}), "3 4 6 6 6 7 1 ") << "a long list takes two TLVs";
    fakePlatform().intfs.push_back({"unreported", kEth2});
    EXPECT_EQ(build(3, {}), "") << "no response without device information";
}

TEST_F(Builder, LinkMetricResponse) {
    LinkDesc link{};
    peer(2).intf.copyTo(link.nbrIntfMac);
    fakePlatform().intfs[1].links = {link};
    const std::pair<MetricQuery, std::string> cases[] = {
        {{0, {}, 1}, "10 10 "},     {{0, {}, 2}, "9 10 9 10 "},  {{1, peer(2).al, 2}, "9 10 "},
        {{1, peer(4).al, 0}, "9 "}, {{1, peer(9).al, 2}, "12 "}, {{1, peer(2).intf, 2}, "12 "},
        {{2, {}, 2}, ""},           {{0, {}, 0}, "9 9 "}};
    for (const auto& [query, tlvs] : cases) {
        EXPECT_EQ(build(6, metricRespBody(query)), tlvs) << query.metrics;
    }
    EXPECT_EQ(sizes_, (std::vector<size_t>{15 + 29, 15})) << "a neighbor without links";
    fakePlatform().intfs[1].links.resize(100, link);
    EXPECT_EQ(build(6, metricRespBody(cases[3].first)), "9 ") << "a neighbor without links";
    EXPECT_EQ(build(6, metricRespBody(cases[2].first)), "9 9 9 10 10 ");
    fakePlatform().fail = {"getLinkMetricList"};
    EXPECT_EQ(build(6, metricRespBody(cases[0].first)), "");
}

}  // namespace
