#include "db/database.h"

#include "db/link_metrics.h"
#include "db/local_tables.h"
#include "db/own_state.h"
#include "support/device.h"

namespace {

using Macs = std::vector<MacAddr>;
const MacAddr kA = peer(1).intf, kB = peer(2).intf, kC = peer(3).intf;

int rewrites;

class Database : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        fakePlatform().intfs[0].nbrs = {kA, kB, kC};
        fakePlatform().brdgTuples = {{kEth0, kEth1}, {}};
        ASSERT_EQ(initDataManager(), kOk);
        eth0().nbrs[1].is1905 = true;
        rewrites = 0;
        upcalls().writeJsonDataModel = [] { return ++rewrites; };
    }
    static Macs nbrMacs() {
        Macs macs;
        for (const auto& nbr : eth0().nbrs) macs.push_back(nbr.nbrIntfMac);
        return macs;
    }
};

TEST_F(Database, UpdatesReturnWhetherTheyChanged) {
    const std::tuple<std::string, int, int> cases[] = {
        {"unknown name", updateIntfPwrState("eth9", kEth0, kMedia, 2), kNothingChanged},
        {"unknown media type", updateIntfMediaType(kEth1, 99, 0x105, {}), kNothingChanged},
        {"unknown key", setAlTableConfValue(2, 1, ""), kFailure},
        {"neighbor of nothing", removeIntfNbrIntf("eth9", {}, 0, {kA}), kNoLocalIntf},
        {"unknown neighbor", removeIntfNbrIntf("eth0", {}, 0, {peer(9).intf}), kNothingChanged},
        {"two of three", removeIntfNbrIntf("eth0", {}, 0, {kB, peer(9).intf, kA}), kChanged}};
    for (const auto& [name, result, expected] : cases) EXPECT_EQ(result, expected) << name;
    EXPECT_EQ(nbrMacs(), Macs{kC});
    for (int i = 0; i < 2; i++) EXPECT_EQ(updateLEDStatus("on") + updateNewFWUpgradeStatus(3), kOk);
    EXPECT_EQ(rewrites, 2) << "at once, and only for a change";
    fakePlatform().fail = {"getBrdgCapability"};
    EXPECT_EQ(requestUpdateBrdgCap(), kFailure);
    EXPECT_EQ(getBrdgTupleNum(), 0) << "the old tuples are gone";
}

TEST_F(Database, NeighborInterfacesAreAdded) {
    const std::tuple<Macs, Macs, Macs> knownAddedResult[] = {
        {{}, {kA}, {kA}},
        {{kA}, {kA}, {kA}},
        // Meant: the check for duplicates looks at the MAC at twice the index, if there is one.
        {{kB}, {kA, kB}, {kB, kA, kB}},
        {{kC}, {kA, kB, kC}, {kC, kA, kC}}};
    for (const auto& [known, added, then] : knownAddedResult) {
        eth0().nbrs.clear();
        for (const auto& mac : known) eth0().nbrs.push_back({.nbrIntfMac = mac});
        EXPECT_EQ(addIntfNbrIntf("eth0", {}, 0, added), then == known ? kNothingChanged : kChanged);
        EXPECT_EQ(nbrMacs(), then);
    }
    EXPECT_EQ(addIntfNbrIntf("eth9", kEth0, kMedia, std::vector{kA}), kNoLocalIntf);
    // In a full table the oldest neighbor that is no 1905 device gives way, or one that never
    // answered.
    getNbrDevTable() = {{.alMac = {}, .answerTime = 1}};
    eth0().nbrs.assign(4094, {.is1905 = true});
    EXPECT_EQ(addIntfNbrIntf("eth0", {}, 0, std::vector{kC, kA}), kChanged);
    EXPECT_EQ(addIntfNbrIntf("eth0", {}, 0, std::vector{kB}), kChanged);
    EXPECT_EQ(eth0().nbrs.size(), 4096U);
    EXPECT_EQ(getIntfNbrDevByMac(eth0(), kC), nullptr);
    eth0().nbrs.assign(4096, {.is1905 = true});
    EXPECT_EQ(addIntfNbrIntf("eth0", {}, 0, std::vector{kB}), kNothingChanged);
    eth0().nbrs[7].nbrAlMac = kC;
    EXPECT_EQ(addIntfNbrIntf("eth0", {}, 0, std::vector{kB}), kChanged);
}

TEST_F(Database, LinkMetricsAreFetchedEveryFiveSeconds) {
    eth0().nbrs[1].nbrAlMac = peer(2).al;
    const auto links = [] { return getIntfLinkMetricsById(kEth0, kMedia)->links.size(); };
    EXPECT_EQ(links() + links(), 0U);
    EXPECT_EQ(fakePlatform().linkMetricCalls, 2U) << "an empty list is fetched again";
    LinkDesc desc{};
    kB.copyTo(desc.nbrIntfMac);
    fakePlatform().intfs[0].links = {desc};
    EXPECT_EQ(links(), 1U);
    EXPECT_EQ(eth0().links[0].nbrAlMac, peer(2).al);
    advance(4);
    EXPECT_EQ(links(), 1U);
    EXPECT_EQ(fakePlatform().linkMetricCalls, 3U);
    fakePlatform().fail = {"getLinkMetricList"};
    advance(1);
    EXPECT_EQ(getIntfLinkMetricsById(kEth0, kMedia), nullptr);
}

}  // namespace
