#include "net/transmitter.h"

#include <fcntl.h>

#include "db/local_tables.h"
#include "db/neighbor_aging.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class Transmitter : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        addEth2();
    }
    // Two interfaces of neighbor 1 are heard on eth0, and one on eth1.
    void startWithNeighbor() {
        start();
        (void)updateTopolInfo(0, "eth0", kEth0, kMedia, peer(1).al, peer(1).intf);
        (void)updateTopolInfo(0, "eth0", kEth0, kMedia, peer(1).al, peer(2).intf);
        (void)updateTopolInfo(0, "eth1", kEth1, kMedia, peer(1).al, peer(3).intf);
    }
    static Fd broken() { return Fd(open("/dev/null", O_RDONLY | O_CLOEXEC)); }
    // TLVs of these sizes in bytes.
    static int sendTlvs(const std::vector<size_t>& sizes, uint16_t type = kMsgTopolResp) {
        TlvArea tlvs;
        for (const size_t size : sizes) EXPECT_TRUE(add(tlvs, size));
        return send1905UcastMsg(port("eth0"), peer(1).intf, type, 7, nullptr, tlvs, 0);
    }
    static bool add(TlvArea& tlvs, size_t size) {
        return flatten1905Tlv(tlvs, 0x55, Frame(size - 3, 0xAA));
    }
    // Where the frames went: "port:last byte of the MAC".
    static std::string destinations() {
        std::string all;
        for (const std::string name : {"eth0", "eth1", "eth2"}) {
            for (const auto& s : sent(name)) all += name + ":" + std::to_string(s.dst.b[5]) + " ";
        }
        return all;
    }
};

TEST_F(Transmitter, FragmentsEndBetweenTlvs) {
    start();
    const std::pair<std::vector<size_t>, std::vector<size_t>> cases[] = {
        {{10}, {64}},  // padded
        {{40}, {65}},
        {{700, 772}, {1497}},
        {{700, 773}, {725, 798}},
        {{1400, 1400, 3}, {1425, 1428}},
        {std::vector<size_t>(60, 50), {1475, 1475, 125}}};
    for (const auto& [tlvs, sizes] : cases) {
        EXPECT_EQ(sendTlvs(tlvs), kOk);
        const auto all = sent("eth0");
        ASSERT_EQ(all.size(), sizes.size());
        for (size_t i = 0; i < all.size(); i++) {
            EXPECT_EQ(all[i].frame.size(), sizes[i]);
            EXPECT_EQ(std::tuple(all[i].id, all[i].fragId), std::tuple(7U, i));
            EXPECT_EQ(all[i].flags, i + 1 == all.size() ? kLastFragment : 0);
        }
    }
    getSysCtrl().config.standard1905 = 1;
    EXPECT_EQ(sendTlvs({700, 773}), kOk);
    const auto all = sent("eth0");
    EXPECT_EQ(all.at(0).frame.size(), 722U);
    EXPECT_EQ(all.at(1).frame.size(), 798U);
}

TEST_F(Transmitter, RefusesWhatCannotBeSent) {
    start();
    LogCapture log(1);
    EXPECT_EQ(sendTlvs({20, 1401}), kFailure);
    EXPECT_EQ(occurrences(log.text(), "failed to send message size = (1401) > 1400 \r\n"), 1U);
    EXPECT_EQ(sendTlvs({}), kFailure);
    EXPECT_EQ(sendTlvs({1400, 1500}), kFailure);
    EXPECT_EQ(sent("eth0").size(), 1U) << "the first TLV has left already";
    EXPECT_EQ(sendTlvs({}, kMsgTopolQuery), kOk) << "a query may be empty";
    EXPECT_EQ(fakeNet().captureFrames("eth0"),
              std::vector<Frame>{frame1905(peer(1).intf, kEth0, 2, 7, Frame(42))});
    port("eth0").ieee1905Sock = broken();
    EXPECT_EQ(sendTlvs({20}), kFailure);
}

TEST_F(Transmitter, IdentifiersWrapBefore65535) {
    ASSERT_EQ(initDataManager(), kOk);
    uint16_t id = 0;
    do {  // there is no port yet, so that nothing is sent
        ASSERT_EQ(requestSend1905McastMsg(kMsgTopolNtf, {}, &id), kOk);
    } while (id != 65534);
    start();
    EXPECT_EQ(requestSend1905McastMsg(kMsgTopolNtf, {}, &id), kOk);
    EXPECT_EQ(id, 4) << "start() used one per topology discovery and one for the vendor discovery";
    EXPECT_EQ(requestSend1905McastMsg(kMsgTopolDisc, {}, &id), kOk);
    EXPECT_EQ(id, 7) << "the last one used";
    for (unsigned i = 0; i < 3; i++) {
        const auto all = sent("eth" + std::to_string(i));
        ASSERT_EQ(all.size(), 2U);
        // One identifier for all ports; a discovery, which names its port, uses one per port.
        EXPECT_EQ(std::tuple(all[0].id, all[0].flags), std::tuple(4U, 0xC0U));
        EXPECT_EQ(std::tuple(all[1].id, all[1].flags), std::tuple(5 + i, 0x80U));
        EXPECT_EQ(MacAddr(&all[1].frame[34]), fakePlatform().intfs[i].mac);
    }
}

TEST_F(Transmitter, MulticastsLeaveByPortsOfBridges) {
    fakePlatform().brdgTuples = {{kEth0, kEth1}};
    start();
    const std::pair<std::function<void()>, std::string> cases[] = {
        {[] {}, "eth0:19 eth1:19 "},
        {[] { fakePlatform().excludedIntfs = {"eth1"}; }, "eth0:19 "},
        {[] { getAlTable()->brdgTuples.clear(); }, "eth0:19 eth2:19 "},  // without bridges: all
        {[] { fakeNet().intfs["eth2"].up = false; }, "eth0:19 "},
        {[] { port("eth0").ieee1905Sock = broken(); }, ""}};
    for (const auto& [change, expected] : cases) {
        change();
        EXPECT_EQ(requestSend1905McastMsg(kMsgTopolNtf, {}), kOk);
        EXPECT_EQ(destinations(), expected);
    }
}

TEST_F(Transmitter, SkipsAPortThatGoesDownUnheard) {
    fakeNet().reportsLinks = true;
    startWithNeighbor();
    LogCapture log(2);
    const Frame relayed = discovery(peer(9), 1);
    const std::pair<std::function<int()>, std::string> sends[] = {
        {[] { return requestSend1905McastMsg(kMsgTopolNtf, {}); }, "eth1:19 eth2:19 "},
        {[] { return requestSend1905UcastMsg(peer(1).al, kMsgTopolQuery, {}); }, "eth1:3 "},
        {[] { return requestRelayMcastMsg(port("eth2")); }, "eth1:19 "},
        {requestSendLldpMsg, ""}};
    for (const auto& [send, expected] : sends) {
        fakeNet().intfs["eth0"].up = false;
        std::ranges::copy(relayed, getRxBuffer().frame.begin());
        getRxBuffer().length = static_cast<uint32_t>(relayed.size());
        EXPECT_EQ(send(), kOk);
        EXPECT_EQ(destinations(), expected);
        EXPECT_TRUE(port("eth0").isDown);
        fakeNet().intfs["eth0"].up = true;
        fakeNet().linkEvent(2);
        (void)aLinkHasReturned();
    }
    EXPECT_EQ(log.text(), "") << "as if it had been down before";
    fakeNet().intfs["eth0"].mtu = 20;
    EXPECT_EQ(requestSend1905McastMsg(kMsgTopolNtf, {}), kOk);
    EXPECT_EQ(occurrences(log.text(), "failed to send message (type = 1"), 2U);
    EXPECT_EQ(port("eth0").mtu, 20U);
}

TEST_F(Transmitter, ADiscoverySkipsAPortForWhichItCannotBeBuilt) {
    start();
    LogCapture log(2);
    const MsgBody body{
        [](const Port& p, TlvArea& tlvs) { return p.name != "eth0" && add(tlvs, 10); }};
    EXPECT_EQ(requestSend1905McastMsg(kMsgTopolDisc, body), kOk);
    EXPECT_EQ(destinations(), "eth1:19 eth2:19 ");
    EXPECT_EQ(occurrences(log.finish(), "failed to generate IEEE 1905.1 message"), 1U);
}

TEST_F(Transmitter, UnicastsGoToEveryInterfaceOfTheDevice) {
    startWithNeighbor();
    // A discovery also goes to an unknown device.
    const std::tuple<MacAddr, uint16_t, std::string> cases[] = {
        {peer(1).al, kMsgTopolQuery, "eth0:1 eth0:2 eth1:3 "},
        {peer(2).intf, kMsgTopolQuery, "eth0:2 "},
        {peer(9).intf, kMsgTopolDisc, "eth0:9 eth1:9 eth2:9 "},
        {peer(9).al, kMsgTopolQuery, ""},
        {peer(1).al, kMsgVendSpec, ""},
        {peer(1).al, 13, ""}};
    uint16_t id = 0, used = 0;
    ASSERT_EQ(requestSend1905McastMsg(kMsgTopolNtf, {}, &id), kOk);
    drop();
    for (const auto& [dst, type, expected] : cases) {
        used = 0xEEEE;
        EXPECT_EQ(requestSend1905UcastMsg(dst, type, {}, &used), expected.empty() ? kFailure : kOk);
        EXPECT_EQ(used, expected.empty() ? 0xEEEE : ++id) << "used if something left";
        EXPECT_EQ(destinations(), expected);
    }
    EXPECT_EQ(requestSend1905UcastRespMsg(peer(3).intf, kMsgTopolResp, 0xABCD, {}), kOk);
    EXPECT_EQ(sent("eth1").at(0).id, 0xABCDU);
    // An interface may have the AL MAC as its address: on eth1 it is not a second one of the
    // device, on eth2 it is the only one.
    (void)addIntfNbrIntf("eth1", kEth1, kMedia, std::vector{peer(1).al});
    (void)addIntfNbrIntf("eth2", kEth2, kMedia, std::vector{peer(1).al});
    EXPECT_EQ(requestSend1905UcastRespMsg(peer(1).al, kMsgTopolResp, 5, {}), kOk);
    EXPECT_EQ(destinations(), "eth0:1 eth0:2 eth1:3 eth2:1 ");
    fakeNet().intfs["eth2"].up = false;
    port("eth0").ieee1905Sock = broken();
    EXPECT_EQ(requestSend1905UcastMsg(peer(1).al, kMsgTopolQuery, {}, &used), kOk);
    EXPECT_EQ(used, id + 1) << "the response used none";
    EXPECT_EQ(destinations(), "eth1:3 ");
    fakeNet().intfs["eth1"].up = false;
    EXPECT_EQ(requestSend1905UcastMsg(peer(1).al, kMsgTopolQuery, {}), kFailure);
}

TEST_F(Transmitter, ResponsesArePairedOnce) {
    constexpr auto kNone = Responder::kNone, kAsked = Responder::kAsked, kOther = Responder::kOther;
    EXPECT_EQ(registerQueriedMsg(peer(1).al, 2, 1), kFailure) << "no database";
    startWithNeighbor();
    const std::tuple<MacAddr, MacAddr, uint16_t, uint16_t, Responder> cases[] = {
        {peer(1).al, peer(9).al, 3, 70, kOther},  // meant: any device may answer
        {peer(1).al, peer(1).al, 4, 70, kNone},
        {peer(1).al, peer(1).al, 3, 71, kNone},
        {{}, peer(1).al, 3, 70, kNone},
        {{}, {}, 3, 70, kAsked}};
    for (const auto& [asked, answers, type, id, result] : cases) {
        (void)initMessageTransmitter();
        EXPECT_EQ(registerQueriedMsg(asked, 2, 70), kOk);
        advance(1000);  // a query does not expire
        for (const auto from : {result, kNone}) {
            EXPECT_EQ(checkMatchQueryRespPair(answers, type, id), from) << type << " " << id;
        }
    }
    uint16_t query = 0;
    (void)requestSend1905UcastMsg(peer(1).al, kMsgTopolQuery, {}, &query);
    (void)requestSend1905UcastRespMsg(peer(1).al, kMsgTopolQuery, 4321, {});
    EXPECT_EQ(checkMatchQueryRespPair(peer(1).intf, 3, 4321), kNone) << "a response is no query";
    // Neither what strangers cause nor what they answer takes it away.
    for (int i = 0; i < 65; i++) EXPECT_EQ(requestSendFollowUpQuery(peer(2).intf), kOk);
    EXPECT_EQ(checkMatchQueryRespPair(peer(9).intf, 3, query), kOther);
    EXPECT_EQ(checkMatchQueryRespPair(peer(1).intf, 3, query), kAsked);
}

}  // namespace
