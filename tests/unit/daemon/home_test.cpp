// What an ordinary home does to a device: bridges that forget, ports that share a MAC, cables that
// are pulled, devices that change.
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>

#include "db/device_table.h"
#include "db/local_tables.h"
#include "db/neighbor_aging.h"
#include "net/transmitter.h"
#include "publish/json_data_model.h"
#include "support/device.h"
#include "support/log_capture.h"
#include "wire/standard_tlv.h"

namespace {

class Home : public Device {
  protected:
    static int lldp(const std::string& tlvs, const MacAddr& dst = kLldpMulticast) {
        EXPECT_TRUE(fakeNet().inject(
            "eth0", bytesOf(dst) + bytesOf(kPeer.intf) + hex("88cc" + tlvs), kEtherTypeLldp));
        return recvLldpMsg(port("eth0"));
    }
    static void runPass() {
        EXPECT_EQ(runMessageMonitor(), kOk);
        (void)checkDiscRepeat();
        (void)checkIntfNbrIntfTimeOut();
    }
    // One pass in each of the next seconds.
    static void run(int seconds) {
        for (; seconds > 0; seconds--) {
            advance(1);
            runPass();
        }
    }
    static std::string flags() {
        std::string all;
        for (const auto& nbr : eth0().nbrs) all += std::to_string(nbr.bridgeFlag) + " ";
        return all;
    }
};

TEST_F(Home, ABridgeThatForgetsRemovesNoLivingNeighbor) {
    startWithPeer();
    (void)addIntfNbrIntf("eth0", {}, 0, std::vector{peer(9).intf});
    advance(kSilenceLimit - 1);
    for (const auto& [after, left] : {std::pair{0, 1U}, {1, 0U}}) {
        advance(after);
        (void)removeIntfNbrIntf("eth0", {}, 0, {kPeer.intf, peer(9).intf});
        EXPECT_EQ(eth0().nbrs.size(), left) << "a host goes at once";
    }
}

TEST_F(Home, ANewMacOfAPortReplacesTheOldOneInItsBridge) {
    fakePlatform().brdgTuples = {{kEth0, kEth1}};
    start();
    const MacAddr next{0x02, 0x19, 0x05, 0, 2, 0};
    EXPECT_EQ(updateIntfMac("eth0", {}, 0, next), kChanged);
    (void)sendTopolDisc();
    EXPECT_EQ(types("eth0") + types("eth1"), "0 0 ") << "both still send multicasts";
    EXPECT_EQ(getBrdgTupleByIndex(0)->macs, (std::vector{next, kEth1}));
    // An unbridged interface with the MAC of a bridged one, as a WAN port may have.
    getIntfTableByName("eth1")->mac = next;
    getAlTable()->brdgTuples = {{{next}}};
    EXPECT_EQ(updateIntfMac("eth1", {}, 0, kEth1), kChanged);
    EXPECT_EQ(getBrdgTupleByIndex(0)->macs, std::vector{next});
}

TEST_F(Home, PortsThatShareAMacAreKeptApart) {
    fakePlatform().intfs[1].mac = kEth0;
    start();
    meet(kOther, 1);
    (void)receive("eth1", discovery(kPeer, 2));
    const IntfTable& eth1 = *getIntfTableByName("eth1");
    ASSERT_EQ(std::tuple(eth0().nbrs.size(), eth1.nbrs.size()), std::tuple(1U, 1U));
    EXPECT_EQ(std::tuple(eth1.nbrs[0].nbrIntfMac, eth1.nbr1905Num()), std::tuple(kPeer.intf, 1U));
    drop();
    (void)requestSend1905UcastMsg(kPeer.al, kMsgTopolQuery, {});
    EXPECT_EQ(types("eth0") + "| " + types("eth1"), "| 2 ");
}

TEST_F(Home, LldpShowsWhetherABridgeIsInBetween) {
    const std::string ids = "0207 04 02ee00000001 0407 03 02ee00010001 ", ttl = "0602 0078 ";
    EXPECT_EQ(getReadLldpOption(), false);
    getSysCtrl().config.readLldp = 1;
    start();
    EXPECT_EQ(lldp(ids + ttl + "0000"), kOk) << "another time to live than ours";
    (void)receive("eth0", discovery(kPeer, 1));
    run(55);
    EXPECT_EQ(flags(), "0 ") << "a cable";
    advance(60);
    (void)receive("eth0", discovery(kPeer, 2));
    EXPECT_EQ(flags(), "0 ");
    run(3);
    EXPECT_EQ(flags(), "1 ") << "a bridge was put in between";
    EXPECT_EQ(lldp(ids + ttl + "0e04 00140004 0000"), kOk);
    EXPECT_EQ(flags(), "0 ");
    // No LLDP frame leaves with a vendor discovery.
    (void)receive("eth0", vendFrame(kEth0, peer(4).intf, peer(4).al, 9, VEND_MSG_TYPE_VEND_DISC,
                                    bytesOf(peer(4).al) + bytesOf(peer(4).intf)));
    run(5);
    EXPECT_EQ(flags(), "0 0 ");
    eth0().nbrs.pop_back();
    // A neighbor that is new, and whose LLDP frames never arrive.
    (void)receive("eth0", discovery(kOther, 3));
    run(2);
    EXPECT_EQ(flags(), "0 0 ");
    run(1);
    EXPECT_EQ(flags(), "0 1 ");
    // Frames that are refused change nothing.
    eth0().nbrs[0].lldpTtl = 1;
    for (const std::string& bad :
         {ids + "0602 0078", ids + "0000", "0207 04 02ee00000001 " + ttl + "0000",
          ids + ttl + "0eff", ids + "0602 0000 0000"}) {
        (void)lldp(bad);
        EXPECT_EQ(eth0().nbrs[0].lldpTtl, 1) << bad;
    }
    EXPECT_EQ(lldp(ids + ttl + "0000", MacAddr{0x01, 0x80, 0xC2, 0, 0, 0}), kFailure);
}

TEST_F(Home, ANeighborWithANewAlMacIsOneDevice) {
    startWithPeer();
    const Peer renamed{peer(7).al, kPeer.intf}, second{kPeer.al, peer(3).intf};
    (void)receive("eth1", discovery(second, 2));
    for (const auto& [id, known] : {std::pair{3U, 2U}, {5U, 1U}}) {
        run(1);
        (void)receive("eth0", discovery(renamed, id));
        run(10);
        (void)checkNbrDevTableTimeOut();
        EXPECT_EQ(getNbrDevNum(), known) << "it keeps its other interface at first";
        EXPECT_EQ(getIeee1905DevTables().size(), known - 1);
        (void)receive("eth0", discovery(kPeer, id + 1));
        getIntfTableByName("eth1")->nbrs.clear();
        if (id == 3) meet(kPeer, 100);
    }
}

// Forged answers arrive before its own, of which two in three are lost.
TEST_F(Home, AForgedDiscoveryRemovesNoNeighborThatAnswers) {
    startWithPeer();
    const Peer forger = peer(7), forged{forger.al, kPeer.intf};
    unsigned asked = 0;
    for (unsigned second = 0; second < 40; second++) {
        (void)receive("eth0", notification({kPeer.al, forger.intf}, 200 + second));
        (void)receive("eth0", discovery(forged, 100 + second));
        run(1);
        (void)checkNbrDevTableTimeOut();
        for (const auto& query : sent("eth0")) {
            if (query.type != kMsgTopolQuery || query.dst != kPeer.intf) continue;
            (void)receive("eth0", response(forger, query.id));
            (void)receive("eth0", response(forged, query.id));
            if (++asked % 3 == 0) (void)receive("eth0", response(kPeer, query.id));
        }
        ASSERT_EQ(eth0().nbrs.at(0).nbrAlMac, kPeer.al) << second;
    }
    EXPECT_LE(asked, 12U);
}

TEST_F(Home, AReturningLinkIsAnnouncedAtOnce) {
    fakeNet().reportsLinks = true;
    start();
    run(10);
    drop();
    fakeNet().linkEvent(2, false);
    runPass();
    EXPECT_EQ(types("eth1"), "");
    for (const bool up : {true, true, false, true}) fakeNet().linkEvent(2, up);
    runPass();
    EXPECT_EQ(types("eth1"), "0 4 ") << "once, however often it flaps";
    for (const auto& [seconds, sent] : {std::pair{5, ""}, {1, "0 4 "}, {24, ""}, {1, "0 4 "}}) {
        run(seconds);
        EXPECT_EQ(types("eth1"), sent) << "again, for an end that was not ready";
    }
    run(20);
    EXPECT_EQ(types("eth1"), "");
}

TEST_F(Home, NeighborsBehindAReturnedLinkAreHeardSoonOrGo) {
    fakeNet().reportsLinks = true;
    startWithPeer();
    (void)receive("eth0", discovery(kOther, 2));
    (void)receive("eth1", discovery(peer(3), 3));
    for (const bool up : {false, true}) fakeNet().linkEvent(2, up);
    runPass();
    run(5);
    (void)receive("eth0", discovery(kOther, 4));
    run(40);
    EXPECT_EQ(eth0().nbrs.size(), 1U);
    EXPECT_EQ(eth0().nbrs.at(0).nbrAlMac, kOther.al);
    EXPECT_EQ(getIntfTableByName("eth1")->nbrs.size(), 1U) << "another port";
}

TEST_F(Home, ADeviceOfTheMeshIsNoHost) {
    startWithPeer();
    const MacAddr host = peer(9).intf;
    (void)addIntfNbrIntf("eth1", {}, 0, std::vector{kOwnAl});
    for (const MacAddr& mac : {kPeer.al, kPeer.intf, host}) {
        (void)addIntfNbrIntf("eth1", {}, 0, std::vector{mac});
    }
    getIntfNum();
    const auto hosts = [](unsigned index) {
        TlvArea area;
        size_t room = 1400;
        (void)genNon1905NbrDevTlv(area, index, room);
        return bytesOf(area);
    };
    EXPECT_EQ(hosts(1), tlvBytes(kTlvNon1905Nbr, bytesOf(kEth1) + bytesOf(host)));
    (void)addIntfNbrIntf("eth0", {}, 0, std::vector{kPeer.al});
    EXPECT_EQ(hosts(0), Frame{}) << "nobody else";
    // Another device reports them.
    DevTopol dev = Device::dev();
    dev.non1905Lists = {{kPeer.intf, {}}};
    (void)updateIeee1905DevTable(kEth0, kMedia, dev);
    const uint16_t before = getNetTopolTable()->changeLogNum;
    dev.non1905Lists[0].nbrs = {kOwnAl, kEth0, kPeer.al, host};
    (void)updateIeee1905DevTable(kEth0, kMedia, dev);
    EXPECT_EQ(getNetTopolTable()->changeLogNum, before + 1) << "the host";
    (void)writeJsonDataModel();
    std::ifstream file(folder() + "/vm1905.json");
    const std::string json(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(occurrences(json, "\"NonIEEE1905NeighborNumberOfEntries\": 1,"), 1U) << json;
    EXPECT_EQ(occurrences(json, "\"NonIEEE1905Neighbor."), 1U);
}

TEST_F(Home, PortsThatCannotBeOpenedAreReported) {
    ASSERT_EQ(initDataManager(), kOk);
    const std::tuple<unsigned, std::string, std::string> indexLinesReason[] = {
        {300, "interface (eth0) gets no port: its index is 300", "no interface takes part"},
        {2, "failed to setup LLDP socket of interface (eth0)", strerror(EPERM)}};
    for (const auto& [ifIndex, line, reason] : indexLinesReason) {
        LogCapture log(2);
        fakeNet().names.clear();
        fakeNet().addIntf("eth0", ifIndex);
        fakeNet().openScript = {false};
        EXPECT_EQ(initIntfPorts(), kOk);
        const std::string text = log.text();
        EXPECT_EQ(occurrences(text, line), 1U);
        EXPECT_EQ(occurrences(text, "no port is open, nothing can be sent or received: " + reason),
                  1U);
    }
    // Without descriptors, which may pass, it is tried again.
    for (const auto& [error, later] : {std::pair{EPERM, 0U}, {EMFILE, 1U}}) {
        fakeNet().openScript = {false};
        fakeNet().openError = error;
        EXPECT_EQ(initIntfPorts(), kOk);
        advance(5);
        retryIntfPorts();
        EXPECT_EQ(getIntfPorts().size(), later);
    }
}

}  // namespace
