#include "net/ports.h"

#include "db/local_tables.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class Ports : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        addEth2();
        ASSERT_EQ(initDataManager(), kOk);
    }
    static std::string names() {
        std::string all;
        for (const auto& port : getIntfPorts()) {
            all += std::string(port.name.view()) + (port.isDown ? "- " : " ");
        }
        return all;
    }
};

TEST_F(Ports, AreKnownInterfacesThatAreNotExcluded) {
    auto& net = fakeNet();
    const FakeIntfDescs more({{"eth3", peer(3).intf}, {"eth4", peer(4).intf}});
    ASSERT_EQ(addIntf(more.head()), kChanged);
    fakePlatform().excludedIntfs = {"eth4"};
    net.addIntf("stranger", 1);  // not in the table
    net.addIntf("eth0", 7).mtu = 1400;
    net.addIntf("eth1", 253);  // the highest index
    net.addIntf("eth2", 8).up = false;
    net.addIntf("eth3", 254);
    net.addIntf("eth4", 9);
    EXPECT_EQ(initIntfPorts(), kOk);
    EXPECT_EQ(names(), "eth0 eth2- eth1 ");
    EXPECT_EQ(port("eth0").mtu, 1400U);
    EXPECT_TRUE(net.intfs["eth0"].allMulti);
    EXPECT_TRUE(net.receiveStopped("eth0", kEtherTypeLldp)) << "LLDP is only sent";
    EXPECT_FALSE(net.receiveStopped("eth0", kEtherType1905));
    getIntfTable().clear();
    EXPECT_EQ(initMessageMonitor(), kFailure);
}

TEST_F(Ports, AnInterfaceWhoseSocketsFailIsLeftOut) {
    fakeNet().addPlatformIntfs();
    const std::tuple<std::deque<bool>, FakeNetIntf, std::string> cases[] = {
        {{true, true, false}, {}, "create (LLDP) raw socket for interface"},
        {{true, true, true, false}, {}, "create (IEEE 1905.1) raw socket for"},
        {{}, {.failBind = {kEtherTypeLldp}}, "name a (LLDP) socket (bind())"},
        {{}, {.failBind = {kEtherType1905}}, "name a (IEEE 1905.1) socket"},
        {{}, {.mtu = -1}, "call ioctl(SIOCGIFMTU) of interface (eth1)"}};
    for (const auto& [opens, eth1, line] : cases) {
        LogCapture log(2);
        fakeNet().openScript = opens;
        fakeNet().intfs["eth1"] = eth1;
        EXPECT_EQ(reinitIntfPorts(), kOk);
        EXPECT_EQ(occurrences(log.text(), "failed to " + line), 1U) << line;
        EXPECT_EQ(names(), "eth0 eth2 ");
        EXPECT_EQ(fakeNet().openSockets("eth1"), 0U);
    }
}

TEST_F(Ports, RefreshAsksTheKernel) {
    fakeNet().addPlatformIntfs();  // indexes 2, 3, 4
    ASSERT_EQ(initIntfPorts(), kOk);
    for (const std::string name : {"eth0", "eth1"}) {
        for (const auto& [up, fails] : {std::pair{false, false}, {true, false}, {false, true}}) {
            fakeNet().intfs[name] = {.up = up, .failFlags = fails};
            EXPECT_EQ(refreshIntfPort(port(name)), kOk);
            // Meant: if the kernel does not answer, a port with an odd index counts as up.
            EXPECT_EQ(port(name).isDown, fails ? name != "eth1" : !up) << name;
        }
    }
}

TEST_F(Ports, AreKeptCurrentByEvents) {
    auto& net = fakeNet();
    net.addPlatformIntfs();
    net.reportsLinks = true;
    ASSERT_EQ(initIntfPorts(), kOk);
    LogCapture log(4);
    const std::function<void()> none = [] {}, event = [&] { net.linkEvent(3); };
    const auto overrun = [&] {
        net.linkEvent(2);
        net.losesLinks = true;
    };
    const auto rename = [&] {
        net.names[3] = "eth9";
        event();
    };
    // The state of eth1, what happens, whether a refresh asks the kernel, and the MTU then.
    const std::tuple<FakeNetIntf, std::function<void()>, bool, uint32_t> steps[] = {
        {{}, none, false, 1500},
        {{.up = false, .mtu = 1400}, event, true, 1400},
        {{.mtu = 1450}, event, false, 1450},
        {{.up = false, .mtu = 1300}, overrun, true, 1300},
        {{}, none, true, 1300},  // the failure of no send would show that it is up
        {{}, none, false, 1300},
        {{.failFlags = true}, rename, true, 1500},
        {{.failFlags = true}, none, true, 1500}};
    for (const auto& [state, happens, asks, mtu] : steps) {
        net.intfs["eth1"] = state;
        happens();
        (void)aLinkHasReturned();
        net.flagsRead = 0;
        EXPECT_EQ(refreshIntfPort(port("eth1")), kOk);
        EXPECT_EQ(std::tuple(net.flagsRead, port("eth1").mtu), std::tuple(asks ? 1U : 0U, mtu));
        EXPECT_EQ(occurrences(log.text(), state.up ? "(eth1) status: UP" : ") status: DOWN"), 1U);
    }
}

TEST_F(Ports, AreBoundAgainWhenTheyJoinABridge) {
    fakeNet().addPlatformIntfs();
    ASSERT_EQ(initIntfPorts(), kOk);
    LogCapture log(2);
    // Whether the port is on a bridge, whether a bind would fail, and the failures: a failed bind
    // is repeated, any other is not.
    const std::tuple<bool, bool, unsigned> steps[] = {
        {false, true, 0}, {true, true, 1}, {true, false, 0}, {true, true, 0}, {false, true, 1}};
    for (const auto& [onBridge, fails, failures] : steps) {
        fakeNet().intfs["eth1"].bridgePort = onBridge;
        fakeNet().intfs["eth1"].failBind = fails ? std::set{kEtherType1905} : std::set<uint16_t>{};
        (void)rebindIntfPorts();
        EXPECT_EQ(occurrences(log.text(), "failed to name a (IEEE 1905.1)"), failures);
    }
    // Only one interface accepted all multicasts before. Rebuilding the ports changes nothing.
    const auto allMulti = [](const char* name) { return fakeNet().intfs[name].allMulti; };
    (void)destroyIntfPorts();
    fakeNet().intfs["eth1"].allMulti = true;
    (void)initIntfPorts();
    fakePlatform().excludedIntfs = {"eth2"};
    (void)reinitIntfPorts();
    for (const char* name : {"eth0", "eth1", "eth2"}) EXPECT_TRUE(allMulti(name)) << name;
    (void)destroyIntfPorts();
    for (const char* name : {"eth0", "eth1", "eth2"})
        EXPECT_EQ(allMulti(name), name == std::string("eth1")) << name;
    EXPECT_EQ(fakeNet().openSockets("eth0") + fakeNet().openSockets("eth0", kEtherTypeLldp), 0U);
}

}  // namespace
