#include "net/message_builder.h"

#include "db/database.h"
#include "db/neighbor_aging.h"
#include "support/device.h"

namespace {

TEST(Frame, TlvsAreTheseBytes) {
    Frame out(520);
    EXPECT_EQ(flatten1905Tlv({5, TlvValue(Frame(300, 1))}, out), 303U);
    EXPECT_EQ(Frame(&out[0], &out[4]), hex("05 012c 01"));
    EXPECT_EQ(flatten1905Tlv({5, TlvValue(Frame(518, 1))}, out), 0U) << "no room";
    EXPECT_EQ(flattenLldpTlv({3, TlvValue(Frame(300, 2))}, out), 302U);
    EXPECT_EQ(Frame(&out[0], &out[3]), hex("072c 02"));
    EXPECT_EQ(flattenLldpTlv({3, TlvValue(Frame(512, 2))}, out), 0U) << "9 bits of length";
}

class Builder : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        fakePlatform().intfs[0].nbrs = {peer(1).intf};
        fakePlatform().intfs[1].nbrs = {peer(2).intf, peer(3).intf};
        start();
        (void)updateTopolInfo(kNbrDiscovery, kEth1, kMedia, peer(2).al, peer(2).intf);
        (void)updateNbrDevTable(kNbrDiscovery, peer(2).al);
        (void)updateNbrDevTable(kNbrDiscovery, peer(4).al);
    }
    // The types of the TLVs, then r for relay and q for query.
    std::string build(uint16_t type, const MsgBody& body) {
        MsgTraits traits{true, true};
        list_ = gen1905Msg(port("eth1"), type, body, traits);
        std::string text;
        for (const auto& tlv : list_) text += std::to_string(tlv.type) + " ";
        return text + (traits.relay ? "r" : "") + (traits.expectsResponse ? "q" : "");
    }
    TlvList list_;
};

TEST_F(Builder, MessagesCarryTheseTlvs) {
    const MetricQuery query;
    const RoleBand info;
    const PBEventNtf event;
    const PBJoinNtf join;
    const Wsc dated{{1, 2}, Text<32>("2024010112")}, undated, zero{{1}, Text<32>("0000000000")};
    const std::pair<uint16_t, MsgBody> messages[] = {{0, {}},
                                                     {1, {}},
                                                     {2, {}},
                                                     {3, {}},
                                                     {4, {}},
                                                     {5, metricQueryBody(query)},
                                                     {5, {}},
                                                     {7, apSearchBody(info)},
                                                     {8, apSupportedBody(info)},
                                                     {9, wscBody(dated)},
                                                     {9, wscBody(undated)},
                                                     {9, wscBody(zero)},
                                                     {10, apSupportedBody(info)},
                                                     {11, pbEventBody(event)},
                                                     {12, pbJoinBody(join)},
                                                     {13, {}}};
    std::string all;
    for (const auto& [type, body] : messages)
        all += std::to_string(type) + ": " + build(type, body) + "\n";
    EXPECT_EQ(all,
              "0: 1 2 \n1: 1 2 r\n2: 1 q\n3: 3 6 6 7 1 \n4: r\n5: 8 q\n5: q\n7: 1 13 14 rq\n"
              "8: 1 15 16 \n9: 1 17 80 \n9: 1 17 \n9: 1 17 \n10: 1 15 16 r\n11: 1 18 r\n"
              "12: 1 19 r\n13: \n");
    (void)build(0, {});
    EXPECT_EQ(bytesOf(list_[1].value), bytesOf(kEth1)) << "the MAC of the sending port";
    getAlTable()->brdgTuples = {{{kEth0, kEth1}}};
    EXPECT_EQ(build(3, {}), "3 4 6 6 7 1 ");
    fakePlatform().intfs.push_back({"untold", kEth2});
    EXPECT_EQ(build(3, {}), "") << "no message without its device information";
}

TEST_F(Builder, LinkMetricResponse) {
    LinkDesc link{};
    peer(2).intf.copyTo(link.nbrIntfMac);
    fakePlatform().intfs[1].links = {link};
    const MetricQuery queries[] = {{0, {}, 1},         {0, {}, 2},         {1, peer(2).al, 2},
                                   {1, peer(4).al, 0}, {1, peer(9).al, 2}, {1, peer(2).intf, 2},
                                   {2, {}, 2},         {0, {}, 0}};
    std::string all;
    for (const auto& query : queries) all += build(6, metricRespBody(query)) + "| ";
    EXPECT_EQ(all, "10 10 | 9 10 9 10 | 9 10 | 9 | 12 | 12 | | 9 9 | ");
    EXPECT_EQ(list_[0].value.size(), 12U + 29U);
    EXPECT_EQ(list_[1].value.size(), 12U) << "a neighbour without links";
    fakePlatform().fail = {"getLinkMetricList"};
    EXPECT_EQ(build(6, metricRespBody(queries[0])), "");
}

}  // namespace
