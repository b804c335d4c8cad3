// The state that the device shows, from the kernel, platform.conf and hooks.
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support.h"

namespace {

std::string security() {
    SecurityState state{};
    EXPECT_EQ(getSecurityState(&state), 0);
    return std::string(state.ssh) + " " + state.telnet;
}

int listenOn(int family, uint16_t port) {
    const int fd = socket(family, SOCK_STREAM, 0);
    sockaddr_in6 address{};
    address.sin6_family = static_cast<sa_family_t>(family);
    address.sin6_port = htons(port);  // at the same offset for IPv4
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(listen(fd, 1), 0);
    return fd;
}

}  // namespace

NETWORK_TEST(State, OfTheNetworkIsThatOfTheKernel) {
    const ScratchFolder folder("EXCLUDE = far-*\n");
    ip("link add plain type veth peer name far-plain; link set plain up; link set far-plain "
       "up");
    ip("link add port type veth peer name far-port; link set port up");
    ip("addr add 192.0.2.7/24 dev plain; addr add 2001:db8::7/64 dev plain nodad");
    IPv6Info ipv6{};
    Listener daemon;
    EXPECT_TRUE(daemon.statusBecomes("plain", PLATFORM_OPER_UP));
    EXPECT_EQ(textOf<32>(getDeviceIP), "192.0.2.7");
    EXPECT_EQ(textOf<128>(getEthernetPortState), R"("plain:10000","port:down")");
    EXPECT_EQ(textOf<32>(getBackhaulType), "Ethernet");
    EXPECT_EQ(getIPv6Info(&ipv6), 0);
    EXPECT_STREQ(ipv6.address[0], "2001:db8::7");

    ip("link add br0 type bridge; link set port master br0");
    ip("link set br0 up; link set far-port up");
    EXPECT_TRUE(daemon.statusBecomes("port", PLATFORM_OPER_UP));
    EXPECT_EQ(textOf<32>(getDeviceIP), "192.0.2.7");  // the bridge has none yet
    ip("addr add fe80::5/64 dev br0 nodad; addr add fd00::1/64 dev br0 nodad");
    ip("addr add 192.0.2.1/24 dev br0");
    EXPECT_EQ(textOf<32>(getDeviceIP), "192.0.2.1");
    NetworkState network{};
    EXPECT_EQ(getNetworkState(&network), 0);
    EXPECT_EQ(network.intfInBridge, 1);
    EXPECT_EQ(getIPv6Info(&ipv6), 0);
    ASSERT_GE(ipv6.num, 2);
    EXPECT_STREQ(ipv6.address[0], "fd00::1");
    EXPECT_EQ(std::string(ipv6.address[ipv6.num - 1]).substr(0, 4), "fe80");

    // No name may break the JSON list, and no item is cut.
    for (const char* digit : {"0", "1", "2", "3", "4", "5"}) {
        ip(std::string("link add 'quo\"te\\port") + digit + "' type veth peer name far-" + digit);
    }
    daemon.next();
    const std::string ports = textOf<128>(getEthernetPortState);
    EXPECT_TRUE(ports.ends_with(R"(,"quo?te?port4:down")")) << ports;

    const int ssh = listenOn(AF_INET6, 22);
    EXPECT_EQ(security(), "on off");
    close(ssh);
    const int telnet = listenOn(AF_INET, 23);
    EXPECT_EQ(security(), "off on");
    close(telnet);
}

NETWORK_TEST(State, OfTheProductIsConfiguredOrFromHooks) {
    const ScratchFolder folder;
    uint8_t configure = 9;
    EXPECT_EQ(getConfigureState(&configure), 16);
    folder.platformConf(
        "CONFIGURED = no\nCOUNTRY_CODE = an-over-long-country-code\n"
        "WIFI_COUNTRY_CODE = SE\nBACKHAUL = G.hn\n");
    EXPECT_EQ(textOf<16>(getCountryCode), "an-over-long-co");
    EXPECT_EQ(textOf<32>(getBackhaulType), "G.hn");
    EXPECT_EQ(getConfigureState(&configure), 0);
    EXPECT_EQ(configure, 2);
    EXPECT_EQ(textOf<16>(getWIFICountryCode), "SE");
    folder.hook("wifi-country-code", "[ $1 = NO ]");
    EXPECT_EQ(setWIFICountryCode("NO"), 0);
    EXPECT_EQ(setWIFICountryCode("XX"), 1);
    EXPECT_EQ(textOf<16>(getWIFICountryCode), "NO");

    folder.platformConf("DNSMASQ_PID_FILE = " + folder.path("pid"));
    const std::string self = std::to_string(getpid());
    const std::tuple<std::string, const char*, int> cases[] = {{"", "dnsmasq", 0},
                                                               {self + "\n", "dnsmasq", 1},
                                                               {"self", "dnsmasq", 0},
                                                               {self, "other", 0}};
    for (const auto& [pid, name, runs] : cases) {
        folder.write("pid", pid);
        prctl(PR_SET_NAME, name);
        NetworkState state{};
        EXPECT_EQ(getNetworkState(&state), 0);
        EXPECT_EQ(state.dnsmasq, runs) << pid << name;
    }
}
