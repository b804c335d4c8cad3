// The network that the library reports, on real interfaces in a network namespace.
#include <algorithm>
#include <string>

#include "support.h"

namespace {

constexpr uint32_t kGigabit = 0x0001;

const std::string kV0 = "02:00:00:00:00:10", kV1 = "02:00:00:00:00:11";

// Bridging tuples: "( <mac> <mac> )".
std::string tuples() {
    std::string all;
    BrdgDescList list{};
    EXPECT_EQ(getBrdgCapability(&list), 0);
    takeList(list.head, [&](const BrdgDesc& desc) {
        all += "(" + macsText(desc.macs, desc.macNum) + " )";
        free(desc.macs);
    });
    return all;
}

std::string alMac() {
    AlDesc desc{};
    return getAlDesc(&desc) == 0 ? macText(desc.alMac) : "";
}

// A cable from v0 or v1 to far-v0 or far-v1, which is excluded by its name.
void cable(const std::string& name) {
    const std::string digit(1, name.back());
    ip("link add " + name + " address 02:00:00:00:00:1" + digit + " type veth peer name far-" +
       name + " address 02:00:00:00:00:2" + digit + "; link set " + name + " up; link set far-" +
       name + " up");
}

}  // namespace

NETWORK_TEST(Network, InterfacesComeAndGo) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    EXPECT_EQ(alMac(), "");
    cable("v0");
    Listener daemon;
    EXPECT_EQ(alMac(), kV0);
    cable("v1");
    EXPECT_EQ(daemon.after("link add br0 type bridge"), "added v1");
    for (const char* name : {"br0", "far-v1", "lo"}) EXPECT_NE(getDeviceSendMsgEnable(name), 0);
    EXPECT_EQ(daemon.after("link del v1"), "removed v1");

    // Created again between two pictures: same name and address, but another interface.
    EXPECT_EQ(
        daemon.after("link del v0; link add v0 address " + kV0 + " type veth peer name far-v0"),
        "removed v0, added v0");
    EXPECT_EQ(daemon.after("link set v0 name uplink"), "removed v0, added uplink");
    EXPECT_EQ(daemon.after("link set uplink address 02:00:00:00:00:99"),
              "mac uplink " + kV0 + " 02:00:00:00:00:99, al 02:00:00:00:00:99");
    EXPECT_EQ(daemon.after("link del uplink"), "removed uplink");
}

NETWORK_TEST(Network, InterfacesWithTheDefaultRouteLeave) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    cable("v0");
    cable("v1");
    ip("address add 192.0.2.1/24 dev v0; route add default via 192.0.2.2; link add br0 type "
       "bridge");
    setExcludeDefaultRoute(1);
    Listener daemon;
    EXPECT_EQ(alMac(), kV1);
    EXPECT_EQ(daemon.after("route add 198.51.100.0/24 dev v1; route add default dev v1 table 7"),
              "");
    EXPECT_EQ(daemon.after("-6 route add default dev v1"), "removed v1");
    EXPECT_EQ(daemon.after("route del default"), "added v0");
    EXPECT_EQ(
        daemon.after("route add default nexthop via 192.0.2.2 dev v0 nexthop via 192.0.2.3 dev v0"),
        "removed v0");
    EXPECT_EQ(daemon.after("link set v1 master br0"), "added v1, bridges");
}

NETWORK_TEST(Network, PowerAndStatusFollowTheLink) {
    const ScratchFolder folder("EXCLUDE = far-*\nMEDIA_TYPE.v1 = 0x0105\n");
    cable("v0");
    cable("v1");
    Listener daemon;
    EXPECT_EQ(daemon.after("link set v0 down"), "power v0 2");
    EXPECT_EQ(daemon.after("link set v0 up"), "power v0 0");
    EXPECT_TRUE(daemon.statusBecomes("v0", PLATFORM_OPER_UP));
    ip("link set far-v0 down");
    EXPECT_TRUE(daemon.statusBecomes("v0", PLATFORM_OPER_LOWER_LAYER_DOWN));
    EXPECT_EQ(daemon.events, "");

    const MacAddr mac = *macFromText(kV0);
    const uint8_t* const v0 = mac.data();
    EXPECT_EQ(setIntfPwrStateById(v0, kGigabit, PLATFORM_PWR_OFF), 0);
    EXPECT_EQ(setIntfPwrStateById(v0, kGigabit, PLATFORM_PWR_SAVE), 2);
    EXPECT_EQ(setIntfPwrStateById(v0, 0x0105, PLATFORM_PWR_ON), 1);
    EXPECT_EQ(setIntfPwrStateByType(0x0105, PLATFORM_PWR_OFF), 0);
    EXPECT_EQ(setIntfPwrStateByType(0x0200, PLATFORM_PWR_OFF), 1);
    EXPECT_EQ(daemon.next(), "power v0 2, power v1 2");
}

NETWORK_TEST(Network, BridgesAndTheirNeighbors) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    cable("v0");
    cable("v1");
    ip("link add br0 address 02:00:00:00:00:b0 type bridge; link set br0 up");
    ip("link set v1 master br0");
    Listener daemon;
    EXPECT_EQ(alMac(), "02:00:00:00:00:b0");
    EXPECT_EQ(tuples(), "( " + kV1 + " )");
    EXPECT_EQ(daemon.after("link set v0 master br0"), "bridges");
    EXPECT_EQ(tuples(), "( " + kV0 + " " + kV1 + " )");

    // Learned and static entries are neighbors; the bridge's own addresses are not.
    const std::string fdb = "bridge fdb add 02:00:00:00:01:0";
    run(fdb + "1 dev v0 master dynamic");
    run(fdb + "2 dev v0 master static");
    run(fdb + "3 dev v0 master local");
    run(fdb + "4 dev v0 self");
    EXPECT_EQ(daemon.next(), "heard v0 02:00:00:00:01:01, heard v0 02:00:00:00:01:02");
    EXPECT_EQ(daemon.next(), "");

    const IntfDesc v0 = describeAll().at("v0");
    EXPECT_EQ(v0.nbrNum, 2);
    LinkDescList links{};
    EXPECT_EQ(getLinkMetricList(v0.mac, 0x0105, &links), 1);
    ASSERT_EQ(getLinkMetricList(v0.mac, kGigabit, &links), 0);
    ASSERT_EQ(links.linkNum, 2);
    EXPECT_EQ(macText(links.head->next->nbrIntfMac), "02:00:00:00:01:02");
    takeList(links.head, [](const LinkDesc& link) {
        EXPECT_EQ(link.phyRate, 10000);  // as a veth reports
        EXPECT_EQ(link.availability, 100);
    });

    run("bridge fdb replace 02:00:00:00:01:01 dev v1 master static");
    EXPECT_EQ(daemon.next(), "lost v0 02:00:00:00:01:01, heard v1 02:00:00:00:01:01");
    EXPECT_EQ(daemon.after("link set v0 nomaster"), "bridges, lost v0 02:00:00:00:01:02");
    EXPECT_EQ(daemon.after("link del br0"), "bridges, lost v1 02:00:00:00:01:01, al " + kV0);
    EXPECT_EQ(tuples(), "");
}

// A bridge without an address of its own takes over the lowest one of its ports.
NETWORK_TEST(Network, TheAlMacOutlivesAChangeOfTheBridgesAddress) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    cable("v1");
    ip("link add br0 type bridge");
    ip("link set v1 master br0");
    Listener daemon;
    EXPECT_EQ(alMac(), kV1);
    cable("v0");
    EXPECT_EQ(daemon.after("link set v0 master br0"), "added v0, bridges");
    EXPECT_EQ(alMac(), kV1);
    EXPECT_EQ(daemon.after("link del v1"), "removed v1, bridges, al " + kV0);
}

NETWORK_TEST(Network, PlainInterfacesHaveTheNeighborsOfIp) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    cable("v0");
    Listener daemon;
    const std::string add = "neigh replace 10.0.0.";
    ip(add + "1 lladdr 02:00:00:00:02:01 dev v0 nud reachable");
    ip(add + "2 lladdr 02:00:00:00:02:01 dev v0 nud stale");
    ip(add + "3 dev v0 nud failed");
    ip(add + "4 lladdr 02:00:00:00:00:20 dev v0 nud permanent");  // our own far end
    EXPECT_EQ(daemon.next(), "heard v0 02:00:00:00:02:01");
    EXPECT_EQ(daemon.after("neigh del 10.0.0.1 dev v0"), "");

    // More notifications than the socket can hold: a fresh picture finds the neighbors.
    std::string batch;
    for (int i = 1000; i < 3000; i++) {
        const std::string n = std::to_string(i), high = n.substr(0, 2), low = n.substr(2);
        batch += "neigh add 10.1." + high + "." + std::to_string(i % 100) +
                 " lladdr 02:00:00:01:" + high + ":" + low + " dev v0 nud permanent\n";
    }
    folder.write("batch", batch);
    EXPECT_EQ(std::ranges::count(daemon.after("-batch " + folder.path("batch")), ','), 1999);
}

NETWORK_TEST(Network, IdentityIsThatOfTheSystemUnlessConfigured) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    const auto lanMac = [] {
        uint8_t mac[6];
        EXPECT_EQ(getDeviceLANMac(mac), 0);
        return macText(mac);
    };
    cable("v0");
    EXPECT_EQ(lanMac(), kV0);
    ip("link add br0 address 02:00:00:00:00:b0 type bridge");
    EXPECT_EQ(lanMac(), "02:00:00:00:00:b0");
    char text[128];
    EXPECT_EQ(getDeviceMode(text), 16);

    folder.platformConf("LAN_MAC = 02:00:00:00:00:0a\nSECURITY_KEY = s3cret\nHOSTNAME = " +
                        std::string(200, '9'));
    EXPECT_EQ(lanMac(), "02:00:00:00:00:0a");
    EXPECT_EQ(textOf<128>(getHostname), std::string(127, '9'));
    SecurityDesc security{};
    EXPECT_EQ(getSecurityConfig(&security), 0);
    EXPECT_EQ(std::string(reinterpret_cast<char*>(security.value), security.len), "s3cret");
    free(security.value);
}

// A mesh test checks that the rule isolates the hops and is removed with the daemon.
NETWORK_TEST(Network, Forward1905NoHasOneRuleOfItsOwn) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    run("nft add table bridge others");
    // As after a crash: an existing rule is replaced or removed.
    for (const char* setting : {"no", "no", "yes"}) {
        folder.platformConf("FORWARD_1905 = " + std::string(setting) + "\n");
        EXPECT_EQ(initNetCtrl(), 0);
        EXPECT_EQ(startNetCtrl(), 0);
        const std::string rules = run("nft list ruleset");
        EXPECT_EQ(rules.find("0x893a") != rules.npos, setting == std::string("no")) << rules;
        EXPECT_EQ(rules.find("0x893a"), rules.rfind("0x893a")) << rules;
        EXPECT_NE(rules.find("others"), rules.npos);
    }
}
