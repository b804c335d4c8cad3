#include "controller/alarm.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "db/local_tables.h"
#include "db/neighbor_aging.h"
#include "handlers/standard_handlers.h"
#include "support/device.h"

namespace {

using Flow = Device;

TEST_F(Flow, DiscoveriesLeaveAtStartAndEveryMinute) {
    std::string times;  // seconds and message types
    start();
    EXPECT_EQ(fakeNet().captureFrames("eth1", kEtherTypeLldp).size(), 1U);
    for (int second = 0; second < 250; second++) {
        SCOPED_TRACE(second);
        EXPECT_EQ(getNetTopolStatus(), second <= 6 ? 0U : 1U);
        (void)checkAlarms();
        (void)checkUnsentTopolNtfMsg();
        const std::string frames = types("eth1");
        if (!frames.empty()) times += std::to_string(second) + ": " + frames;
        EXPECT_EQ(fakeNet().captureFrames("eth1", kEtherTypeLldp).empty(), frames.empty());
        if (second == 130) (void)disableNetTopol();
        if (second == 190) (void)enableNetTopol();
        advance(1);
    }
    EXPECT_EQ(times, "60: 0 4 120: 0 4 240: 0 4 ")
        << "the first alarm, after 6 seconds, sends nothing";
    EXPECT_TRUE(std::filesystem::exists(folder() + "/vm1905.json"));
}

TEST_F(Flow, WithoutTopologyNeighborsAreOnlyRegistered) {
    start();
    (void)disableNetTopol();
    (void)receive("eth0", discovery(kPeer, 1));
    (void)receive("eth0", notification(peer(2), 2));
    EXPECT_EQ(eth0().nbrs.size(), 2U);
    EXPECT_EQ(eth0().nbr1905Num() + getNbrDevNum(), 0U);
    EXPECT_EQ(types("eth0"), "");
    EXPECT_EQ(handleTopolQueryMsg(port("eth0"), kPeer.intf, 1), kTopolDisabled);
    EXPECT_EQ(handleTopolRespMsg(kEth0, kMedia, kPeer.intf, {}), kTopolDisabled);
    EXPECT_EQ(handleMetricQueryMsg(port("eth0"), kPeer.intf, 1, {1, kPeer.al, 2}), kOk)
        << "answered all the same";
    EXPECT_EQ(handleLldpDiscMsg("eth0", kEth0, kMedia, kPeer.al, kPeer.intf, 180), kOk);
    EXPECT_TRUE(eth0().nbrs[0].lldpSeen);
}

TEST_F(Flow, InterfacesThatOnlyFramesNameTimeOut) {
    start();
    const auto report = [](unsigned n) {
        (void)addIntfNbrIntf("eth0", kEth0, kMedia, std::vector{peer(n).intf});
    };
    report(5);
    for (const unsigned n : {5U, 6U, 7U, 8U}) {
        (void)receive("eth0",
                      frame1905(k1905Multicast, kPeer.intf, kMsgTopolDisc, 10 + n,
                                macTlv(1, kPeer.al) + macTlv(2, peer(n).intf) + endOfMsg()));
    }
    report(7);
    advance(kSilenceLimit);
    (void)checkIntfNbrIntfTimeOut();
    std::string left;
    for (const unsigned n : {5U, 6U, 7U, 8U}) {
        if (getIntfNbrDevByMac(eth0(), peer(n).intf) != nullptr) left += std::to_string(n);
    }
    EXPECT_EQ(left, "57") << "only those that the platform reports";
}

TEST_F(Flow, NewcomersAreAskedOnceAndNotificationsAlways) {
    start();
    unsigned id = 0;
    const std::tuple<Seconds, unsigned, std::string> afterTypeSent[] = {
        {0, 0, "4 2 "}, {2, 0, ""}, {6, 0, "4 2 "}, {0, 1, "2 "}, {0, 1, "2 "}};
    for (const auto& [after, type, expected] : afterTypeSent) {
        advance(after);
        (void)receive("eth0", discovery(kPeer, ++id, type));
        EXPECT_EQ(types("eth0"), expected) << "message " << id;
    }
    EXPECT_EQ(eth0().nbrs.size(), 1U);
}

TEST_F(Flow, ABurstOfChangesGivesOneNotification) {
    start();
    const auto sentAfter = [](Seconds seconds) {
        advance(seconds);
        (void)checkUnsentTopolNtfMsg();
        return types("eth0");
    };
    for (int i = 0; i < 3; i++) (void)requestSendTopolNtfMsg();
    EXPECT_EQ(sentAfter(1), "");
    EXPECT_EQ(sentAfter(1), "1 ");
    EXPECT_EQ(sentAfter(1), "");
    (void)requestSendTopolNtfMsg();
    (void)disableNetTopol();
    EXPECT_EQ(sentAfter(2), "");
    (void)enableNetTopol();
    EXPECT_EQ(sentAfter(0), "") << "it was due while disabled";
}

TEST_F(Flow, NetworkStatusEventsAreApplied) {
    start();
    const Frame macs = bytesOf(peer(5).intf) + bytesOf(peer(6).intf);
    const MediaInfo info{1, 2};
    AlMacEvent al{};
    peer(7).al.copyTo(al.newMac);
    IntfMacEvent mac{"eth0", {}, kMedia, {}};
    peer(8).intf.copyTo(mac.newMac);
    const IntfStateEvent off{"eth0", {}, kMedia, 0, 2}, on{"eth0", {}, kMedia, 0, 0};
    const IntfNbrEvent nbrs{"eth0", {}, kMedia, 2, macs.data()};
    IntfMediaTypeEvent media{{}, kMedia, 0x105, 2, info.data()};
    kEth1.copyTo(media.mac);
    const uint32_t one = 1, four = 4;
    const FakeIntfDescs more({{"eth2", kEth2}});
    const IntfListEvent eth2 = more.event();
    fakePlatform().brdgTuples = {{kEth0}};
    fakePlatform().wps = {1, 0, 0};
    fakePlatform().wpsSyncMac[1] = kPeer.al;
    const auto& own = *getAlTable();
    // An event, its record, whether it opens the ports anew, and its effect.
    const std::tuple<uint32_t, const void*, bool, std::function<bool()>> cases[] = {
        {2, &eth2, true, [&] { return own.intfs.back().mac == kEth2; }},
        {3, &eth2, true, [&] { return own.intfs.size() == 2; }},
        {0, &al, false, [&] { return own.alMac == peer(7).al; }},
        {4, &off, false, [&] { return eth0().pwrState == 2; }},
        {4, &on, true, [&] { return eth0().pwrState == 0; }},
        {5, &off, false, [&] { return eth0().operStatus == 2; }},
        {7, &nbrs, false, [&] { return eth0().nbrs.size() == 2; }},
        {8, &nbrs, false, [&] { return eth0().nbrs.empty(); }},
        {1, &mac, true, [&] { return port("eth0").mac == peer(8).intf; }},
        {6, &media, false,
         [&] { return port("eth1").mediaType == 0x105 && own.intfs.back().mediaInfo == info; }},
        {9, "", false, [&] { return own.brdgTuples.size() == 1; }},
        {10, "", false,
         [&] { return own.role() == 1 && own.wifiSyncMac[1] == "02:ee:00:00:00:01"; }},
        {11, &one, false, [&] { return own.newFirmwareVersion == "2.0.0"; }},
        {12, &four, false, [&] { return own.fwUpgradeStatus == 4; }},
        {13, "blue", false, [&] { return own.info.ledStatus == "blue"; }}};
    for (const auto& [id, record, reopens, applied] : cases) {
        SCOPED_TRACE(id);
        const uint32_t before = port("eth0").mtu;
        fakeNet().intfs["eth0"].mtu++;  // a port reads it when it is opened
        EXPECT_FALSE(applied());
        EXPECT_EQ(fakePlatform().raiseNetStatus(id, record), 0U);
        EXPECT_TRUE(applied());
        EXPECT_EQ(port("eth0").mtu != before, reopens);
        EXPECT_EQ(fakePlatform().raiseNetStatus(id, nullptr), 16U);
    }
    EXPECT_EQ(fakePlatform().raiseNetStatus(14, ""), 0U) << "Meant: 0 for an unknown event too.";
}

}  // namespace
