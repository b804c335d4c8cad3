#include "db/neighbor_aging.h"

#include "db/change_log.h"
#include "db/device_table.h"
#include "db/exported_accessors.h"
#include "db/local_tables.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

const Peer kPeer = peer(1);

int notifications, queries;

class Neighbors : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        ASSERT_EQ(initDataManager(), kOk);
        notifications = queries = 0;
        upcalls().requestSendTopolNtfMsg = [] { return ++notifications; };
        upcalls().sendTopolQuery = [](const MacAddr&) { return ++queries; };
    }
    static TopolTable& topol() { return *getNetTopolTable(); }
    static int heard(int kind, const Peer& who = kPeer) {
        return updateTopolInfo(kind, "eth0", kEth0, kMedia, who.al, who.intf);
    }
    static int note(int type, const Peer& who = kPeer) { return updateNbrDevTable(type, who.al); }
    static int store(const DevTopol& dev) { return updateIeee1905DevTable(kEth0, kMedia, dev); }
    // Who came (+) and went (-) since the last call; n marks a non-1905 neighbor, @ the interface
    // of another device that reports it.
    static std::string changes() {
        std::string all;
        for (unsigned i = 0; i < topol().changeLogNum; i++) {
            const auto& entry = topol().changeLog[i];
            all += (entry.eventType == kNewNeighbor ? "+" : "-") +
                   std::to_string(entry.nbrMac.b[5]) + (entry.nbrType == kIeee1905Nbr ? "" : "n");
            const bool self = entry.reporterAlMac == kOwnAl;
            all += self ? " " : "@" + std::to_string(entry.reporterIntfMac.b[5]) + " ";
        }
        topol().changeLogNum = topol().changeLogNext = 0;
        return all;
    }
};

TEST_F(Neighbors, BridgesAreDetected) {
    // Seconds that pass; discovery, notification or LLDP frame; result; bridge flag.
    const std::tuple<Seconds, char, int, int> steps[] = {
        {0, 'L', kNothingChanged, 0},  // creates no entry
        {0, 'D', kChanged, 0},         {59, 'D', kNothingChanged, 0}, {60, 'D', kChanged, 1},
        {60, 'D', kNothingChanged, 1}, {1, 'L', kChanged, 0},         {1, 'L', kNothingChanged, 0},
        {90, 'D', kNothingChanged, 0},  // LLDP was seen once
        {0, 'N', kNothingChanged, 0}};
    for (const auto& [after, what, result, bridge] : steps) {
        advance(after);
        EXPECT_EQ(what == 'L' ? updateLldpDiscInfo("eth0", kEth0, kMedia, kPeer.al, kPeer.intf, 180)
                              : heard(what == 'D' ? 0 : 1),
                  result)
            << after << what;
        EXPECT_TRUE(eth0().nbrs.empty() || eth0().nbrs[0].bridgeFlag == bridge) << after << what;
    }
    // A discovery within the TTL of an LLDP frame clears the flag as well.
    for (const auto& [age, cleared] : {std::pair{180, false}, {179, true}}) {
        eth0().nbrs[0].lldpTime = test_clock::time - age;
        eth0().nbrs[0].bridgeFlag = 1;
        EXPECT_EQ(heard(0), cleared ? kChanged : kNothingChanged);
    }
    // A notification does not turn a known neighbor into a 1905 one, but adds an unknown neighbor.
    eth0().nbrs[0] = {.nbrIntfMac = kPeer.intf};
    EXPECT_EQ(heard(1), kNothingChanged);
    EXPECT_EQ(eth0().nbrs[0].nbrAlMac, kPeer.al);
    EXPECT_EQ(eth0().nbr1905Num(), 0U);
    EXPECT_EQ(heard(1, peer(2)), kChanged);
    EXPECT_EQ(heard(0, {peer(7).al, peer(2).intf}), kChanged) << "another AL MAC";
    EXPECT_EQ(updateTopolInfo(0, "", kEth0, 99, {}, {}), kFailure);
}

TEST_F(Neighbors, TimeOutAfter130Seconds) {
    (void)addIntfNbrIntf("eth0", {}, 0, std::vector{peer(9).intf});
    for (const unsigned n : {1U, 2U, 3U}) (void)(heard(0, peer(n)) + note(kNbrDiscovery, peer(n)));
    Ieee1905DevTable dev;
    dev.alMac = kPeer.al;
    (void)store(dev);
    EXPECT_EQ(changes(), "+1 ");
    advance(129);
    (void)(heard(0, peer(2)) + note(kNbrDiscovery, peer(2)));
    for (const auto& [after, result, left] :
         {std::tuple{0, kNothingChanged, 4U}, {1, kChanged, 2U}}) {
        advance(after);
        EXPECT_EQ(checkIntfNbrIntfTimeOut(), result);
        EXPECT_EQ(checkNbrDevTableTimeOut(), kOk);
        EXPECT_EQ(eth0().nbrs.size(), left);
        EXPECT_EQ(getNbrDevNum(), left - 1);
    }
    EXPECT_EQ(eth0().nbrs[0].nbrIntfMac, peer(9).intf) << "other neighbors never age";
    EXPECT_EQ(changes(), "-1 ") << "only the first had a record";
}

TEST_F(Neighbors, DevicesAreNewKnownOrBack) {
    const std::tuple<Seconds, int, int> steps[] = {
        {0, kNbrDiscovery, kNewNbrDev},      {2, kNbrDiscovery, kKnownNbrDev},
        {4, kNbrDiscovery, kKnownNbrDev},    {5, kNbrDiscovery, kNewNbrDev},
        {9, kNbrNotification, kKnownNbrDev}, {60, kNbrDiscovery, kNewNbrDev}};
    for (const auto& [after, type, result] : steps) {
        advance(after);
        EXPECT_EQ(note(type), result) << after;
    }
    getNbrDevTable().assign(4096, {.alMac = {}, .lastSeen = now(), .answerTime = 1});
    eth0().nbrs.assign(4096, {.is1905 = true});
    for (int i = 0; i < 4096; i++) (void)topol().devs.add({});
    Ieee1905DevTable dev;
    dev.alMac = peer(9).al;
    EXPECT_EQ(note(kNbrDiscovery, peer(9)), kFailure) << "no more than 4,096";
    EXPECT_EQ(heard(0, peer(9)), kNothingChanged);
    EXPECT_EQ(store(dev), kFailure);
    getNbrDevTable()[7].answerTime = 0;
    EXPECT_EQ(note(kNbrDiscovery, peer(9)), kNewNbrDev)
        << "in the place of one that never answered";
    EXPECT_EQ(getNbrDevTable()[7].answerTime + getNbrDevTable().back().lastSeen, 1 + now());
}

TEST_F(Neighbors, FollowUpTraffic) {
    // Messages by second, and the notifications and queries within 30 seconds.
    const std::tuple<std::string, std::map<int, int>, int, int> cases[] = {
        {"discovery", {{0, kNbrDiscovery}}, 1, 0},
        {"notification", {{0, kNbrNotification}}, 1, 3},
        {"answered query", {{0, kNbrNotification}, {5, kNbrResponse}}, 1, 1},
        {"return", {{0, kNbrDiscovery}, {10, kNbrDiscovery}, {14, kNbrDiscovery}}, 2, 0},
        {"more", {{0, kNbrNotification}, {2, kNbrNotification}, {20, kNbrNotification}}, 1, 6}};
    for (const auto& [name, messages, expectedNotifications, expectedQueries] : cases) {
        getNbrDevTable().clear();
        notifications = queries = 0;
        for (int second = 0; second < 30; second++) {
            if (messages.contains(second)) (void)note(messages.at(second));
            (void)checkNbrDevTableTimeOut();
            EXPECT_EQ(notifications > 0, second >= 3) << name;
            EXPECT_TRUE(second >= 3 || queries == 0) << name;
            advance(1);
        }
        EXPECT_EQ(notifications, expectedNotifications) << name;
        EXPECT_EQ(queries, expectedQueries) << name;
    }
}

TEST_F(Neighbors, ChangeLogIsARing) {
    const std::tuple<uint16_t, unsigned, uint16_t, uint16_t> maximumEventsNumNext[] = {
        {3, 2, 2, 2}, {3, 4, 3, 1}, {256, 256, 256, 0}, {1000, 700, 256, 188}, {0, 2, 0, 0}};
    for (const auto& [maximum, events, num, next] : maximumEventsNumNext) {
        (void)changes();
        EXPECT_EQ(setChangeLogMaxEntries(maximum), kOk);
        for (unsigned i = 0; i < events; i++) (void)updateChangeLogTable(0, {}, {}, 0, peer(i).al);
        EXPECT_EQ(topol().changeLogNum, num) << maximum;
        EXPECT_EQ(topol().changeLogNext, next) << maximum;
        const size_t newest = num == 0 ? 0 : (next + num - 1U) % num;
        EXPECT_EQ(topol().changeLog[newest].nbrMac, peer(events - 1).al);
    }
    // When its size changes, the newest entries stay, in order.
    (void)setChangeLogMaxEntries(4);
    (void)changes();
    for (unsigned i = 1; i <= 6; i++) (void)updateChangeLogTable(0, {}, {}, 0, peer(i).al);
    (void)setChangeLogMaxEntries(6);
    (void)setChangeLogMaxEntries(3);
    (void)updateChangeLogTable(0, {}, {}, 0, peer(7).al);
    EXPECT_EQ(topol().changeLogNum, 3);
    EXPECT_EQ(topol().changeLogNext, 1);
    for (const auto& [index, nbr] : {std::pair{0U, 7U}, {1U, 5U}, {2U, 6U}})
        EXPECT_EQ(topol().changeLog.at(index).nbrMac, peer(nbr).al) << index;
    (void)setChangeLogMaxEntries(1000);
    for (unsigned i = 0; i < 300; i++) (void)updateChangeLogTable(0, {}, {}, 0, peer(i).al);
    (void)setChangeLogMaxEntries(1);
    EXPECT_EQ(topol().changeLog.at(0).nbrMac, peer(299).al) << "the ring never exceeds 256 entries";
}

// Neighbor lists by interface.
using Lists = std::vector<std::pair<unsigned, std::vector<unsigned>>>;
Ieee1905DevTable record(const Lists& others, const Lists& devices) {
    Ieee1905DevTable dev;
    dev.alMac = kPeer.al;
    for (const auto& [intf, nbrs] : others) {
        dev.non1905Lists.push_back({peer(intf).intf, {}});
        for (const unsigned n : nbrs) dev.non1905Lists.back().nbrs.push_back(peer(n).intf);
    }
    for (const auto& [intf, nbrs] : devices) {
        dev.ieee1905Lists.push_back({peer(intf).intf, {}});
        for (const unsigned n : nbrs) dev.ieee1905Lists.back().nbrs.push_back({peer(n).al, 0});
    }
    return dev;
}

TEST_F(Neighbors, ResponsesLogWhoCameAndWent) {
    const std::tuple<Ieee1905DevTable, Ieee1905DevTable, std::string> oldNextChanges[] = {
        {record({{2, {4, 5}}}, {{2, {6}}}), record({{2, {5, 4}}}, {{2, {6}}}), ""},
        {record({{2, {4, 5}}}, {}), record({{2, {5, 6}}}, {}), "+6n@2 -4n@2 "},
        {record({{2, {4}}}, {}), record({{3, {4, 5}}}, {}), "+4n +5n "},
        {record({{2, {4}}}, {{2, {6}}}), record({}, {}), ""},
        {record({}, {{2, {4}}}), record({}, {{2, {4, 5}}}), "+5@2 "},
        {record({}, {}), record({}, {{2, {4, 5}}}), "+4 +5 "},
        // Meant: a loss is logged only if no neighbor is left.
        {record({}, {{2, {4, 5}}}), record({}, {{2, {5}}}), ""},
        {record({}, {{2, {4, 5}}}), record({}, {{2, {}}}), "-4@2 -5@2 "},
        // Meant: new lists are compared with the first old one, whatever its interface.
        {record({}, {{2, {4}}, {3, {5}}}), record({}, {{2, {4}}, {3, {5}}}), "+5@3 "}};
    for (const auto& [old, next, expected] : oldNextChanges) {
        destroyIeee1905DevTable();
        EXPECT_EQ(store(old), kOk);
        EXPECT_EQ(changes(), "+1 ") << "a new device";
        EXPECT_EQ(store(next), kOk);
        EXPECT_EQ(changes(), expected);
    }
    EXPECT_EQ(updateIeee1905DevTable(kEth0, 99, record({}, {})), kFailure);
    EXPECT_EQ(removeIeee1905DevTable(peer(9).al), kFailure);
    EXPECT_EQ(topol().ieee1905DevNum(), 1);
    EXPECT_EQ(removeIeee1905DevTable(kPeer.al), kOk);
    EXPECT_EQ(changes(), "-1 ");
}

TEST_F(Neighbors, RecordsOfAllDevicesHaveABudget) {
    LogCapture log(2);
    size_t refused = 0;
    for (unsigned i = 1; i < 500; i++) {
        auto dev = record({}, {{2, std::vector<unsigned>(4096, 3)}});
        dev.alMac = peer(i).al;
        for (int n = 0; n < 255; n++) dev.brdgTuples.push_back({});
        refused += store(dev) == kOk ? 0 : 1;
    }
    size_t memory = 0;
    for (const auto& dev : topol().devs) memory += dev.memory();
    EXPECT_TRUE(memory > 15U << 20 && memory <= 16U << 20) << memory;
    EXPECT_EQ(occurrences(log.text(), "the database is full"), refused);
    EXPECT_EQ(store(record({}, {})), kOk) << "a known device may shrink";
}

TEST_F(Neighbors, AResponseKeepsTheOtherFields) {
    fakePlatform().wpsSyncList[kPeer.al] = {7, 8};
    auto first = record({}, {});
    first.intfs = {{peer(3).intf, 1, {}, 0, Text<16>("wlan0")}};
    (void)store(first);
    getIeee1905DevTableByIndex(0)->hostname = "extender";
    getIeee1905DevTableByIndex(0)->wifiClients.resize(2);
    (void)store({});
    auto next = record({}, {{3, {4}}});
    next.intfs = {{peer(5).intf, 1, {}, 255, {}}, {peer(3).intf, 2, {}, 255, {}}};
    (void)store(next);
    const auto& dev = *getIeee1905DevTableByIndex(0);  // still the first
    EXPECT_EQ(dev.hostname, "extender");
    EXPECT_EQ(dev.wifiClients.size(), 2U);
    EXPECT_EQ(dev.wifiSync, (std::array<uint8_t, 2>{7, 8}));
    EXPECT_EQ(dev.intfs[0].pwrState, 255) << "a new interface";
    EXPECT_EQ(std::tuple(dev.intfs[1].pwrState, dev.intfs[1].mediaType), std::tuple(0, 2));
    EXPECT_EQ(dev.intfs[1].name, "wlan0");
}

}  // namespace
