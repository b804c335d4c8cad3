// Decisions about interfaces that cannot be made up in a namespace: switches, bonds, radios.
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <net/if.h>

#include <cstdlib>
#include <memory>

#include "netctrl/links.h"
#include "netctrl/wireless.h"
#include "support.h"

TEST(Links, TakePartByTheirKind) {
    const ScratchFolder folder;
    folder.platformConf("EXCLUDE = eth7 tap1\nINCLUDE = tap*\n");
    const struct {
        const char *name, *kind;
        int master, lower;
        bool ethernet = true;
        uint32_t flags = 0;
        MacAddr mac{2, 0, 0, 0, 0, 1};
    } table[] = {
        {"eth0", "", 0, 0},        {"lan1", "dsa", 8, 1},
        {"eth1", "", 4, 0},        {"bond0", "bond", 8, 0},
        {"eth2", "", 8, 0},        {"eth2.5", "vlan", 8, 5},
        {"eth7", "", 8, 0},        {"br-lan", "bridge", 0, 0},
        {"tap0", "tun", 8, 0},     {"tap1", "tun", 8, 0},
        {"tun0", "tun", 0, 0},     {"dummy0", "dummy", 0, 0},
        {"wlan0", "", 0, 0},       {"lo", "", 0, 0, true, IFF_LOOPBACK},
        {"mon0", "", 0, 0, false}, {"late0", "", 0, 0, true, 0, {}},
    };
    std::vector<Link> links;
    for (const auto& row : table) {
        links.push_back({static_cast<int>(links.size()) + 1, row.name, row.kind, row.ethernet,
                         row.mac, row.flags, 0, row.master, row.lower});
    }
    std::string takingPart;
    for (const Link& each : links) {
        if (takesPart(each, links)) takingPart += each.name + " ";
    }
    EXPECT_EQ(takingPart, "lan1 bond0 eth2 eth2.5 tap0 wlan0 ");
}

namespace {

// An answer of nl80211 about an interface, attribute by attribute.
using WifiMessage = std::unique_ptr<nl_msg, decltype(&nlmsg_free)>;

WifiMessage wifiMessage(const MacAddr& mac) {
    WifiMessage made(nlmsg_alloc(), nlmsg_free);
    (void)nlmsg_put(made.get(), 0, 0, 0, GENL_HDRLEN, 0);
    (void)nla_put_u32(made.get(), NL80211_ATTR_IFINDEX, 7);
    (void)nla_put(made.get(), NL80211_ATTR_MAC, 6, mac.b.data());
    return made;
}

}  // namespace

TEST(Radios, AreDescribedByTheirChannel) {
    const struct {
        uint32_t type, frequency, width, center, mediaType;
        const char* info;
    } cases[] = {
        {NL80211_IFTYPE_AP, 5180, NL80211_CHAN_WIDTH_80, 5210, 0x0105, "02000000000900022a00"},
        {NL80211_IFTYPE_AP, 2484, NL80211_CHAN_WIDTH_20, 2484, 0x0103, "02000000000900000e00"},
        {NL80211_IFTYPE_STATION, 5500, NL80211_CHAN_WIDTH_40, 5510, 0x0105, "00000000000040016600"},
        {NL80211_IFTYPE_STATION, 0, 0, 0, 0x0103, "00000000000040000000"},
    };
    for (const auto& c : cases) {
        const auto answer = wifiMessage(MacAddr(2, 0, 0, 0, 0, 9));
        nl_msg* const msg = answer.get();
        (void)nla_put_u32(msg, NL80211_ATTR_IFTYPE, c.type);
        if (c.frequency != 0) {
            (void)nla_put_u32(msg, NL80211_ATTR_WIPHY_FREQ, c.frequency);
            (void)nla_put_u32(msg, NL80211_ATTR_CHANNEL_WIDTH, c.width);
            (void)nla_put_u32(msg, NL80211_ATTR_CENTER_FREQ1, c.center);
        }
        const auto wifi = parseWifiInterface(nlmsg_hdr(msg));
        ASSERT_TRUE(wifi);
        EXPECT_EQ(wifi->onChannel, c.frequency != 0);
        EXPECT_EQ(wifi->mediaType, c.mediaType);
        EXPECT_EQ(hexText(wifi->info), c.info);
        nlmsg_hdr(msg)->nlmsg_len = NLMSG_HDRLEN + 2;
        EXPECT_FALSE(parseWifiInterface(nlmsg_hdr(msg))) << "cut";
    }
}

TEST(Radios, TellTheirStations) {
    const auto answer = wifiMessage(MacAddr(2, 0x57, 0xa0, 0, 0, 1));
    nl_msg* const msg = answer.get();
    EXPECT_FALSE(parseWifiStation(nlmsg_hdr(msg))) << "nothing is told of it";
    nlattr* const info = nla_nest_start(msg, NL80211_ATTR_STA_INFO | NLA_F_NESTED);
    (void)nla_put_s8(msg, NL80211_STA_INFO_SIGNAL_AVG, -55);
    nlattr* const tx = nla_nest_start(msg, NL80211_STA_INFO_TX_BITRATE | NLA_F_NESTED);
    (void)nla_put_u16(msg, NL80211_RATE_INFO_BITRATE, 8667);
    (void)nla_put_u32(msg, NL80211_RATE_INFO_BITRATE32, 866'70);
    (void)nla_nest_end(msg, tx);
    nlattr* const rx = nla_nest_start(msg, NL80211_STA_INFO_RX_BITRATE | NLA_F_NESTED);
    (void)nla_put_u16(msg, NL80211_RATE_INFO_BITRATE, 7805);
    (void)nla_nest_end(msg, rx);
    (void)nla_nest_end(msg, info);
    const auto station = parseWifiStation(nlmsg_hdr(msg));
    ASSERT_TRUE(station);
    EXPECT_EQ(macText(station->mac), "02:57:a0:00:00:01");
    EXPECT_EQ(std::tuple(station->rate, station->rssi, station->signalLevel),
              std::tuple(8667, 40, 90));
    EXPECT_EQ(std::string(station->tx) + ", " + station->rx, "8667.0 Mb/s, 780.5 Mb/s");

    const ScratchFolder folder;
    folder.platformConf("WIFI_ROLE.wlan1 = Guest_5GH\n");
    EXPECT_EQ(connTypeOf("wlan1", 5500, false), "Guest_5GH");
    EXPECT_EQ(connTypeOf("wlan0", 5500, false), "Main_5G");
    EXPECT_EQ(connTypeOf("wlan0", 2437, true), "Mesh_2G");
}

TEST(Netlink, ASocketAnswersRequestAfterRequest) {
    auto socket = NetlinkSocket::open(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    // For a family by its name.
    const std::vector<uint8_t> ask = *parseHex("03010000 0b00 0200 6e6c6374726c 0000");
    int answers = 0;
    for (int i = 0; i < 3; i++) {
        EXPECT_TRUE(socket->request(GENL_ID_CTRL, 0, ask, [&](nlmsghdr*) { answers++; }));
    }
    EXPECT_EQ(answers, 3);
}

// Their fields are seen in the lab.
TEST(Stations, AreTheLinesOfAHookThatAreInOrder) {
    const ScratchFolder folder;
    folder.hook("stations",
                "echo '02:57:a0:00:00:01, 0x0105, 866, 40, 90, 866.7 Mb/s, , Main_5GH'\n"
                "echo '02:57:a0:00:00:02, 0x0105, 866, 40, 90, tx, rx'\n"
                "echo '02:57:a0:00:00, 0x0105, 866, 40, 90, tx, rx, x'\n"
                "echo '02:57:a0:00:00:04, 0x0105, 66000, 40, 90, tx, rx, x'\n"
                "echo '02:57:a0:00:00:05,259,72,0,0,tx,rx,x,y'\n"
                "printf '\\n02:57:a0:00:00:06,259,72,0,0,a tx of more than thirty-one bytes,rx,x'");
    WifiStationList list{};
    ASSERT_EQ(getWIFIConfig(&list), 0);
    EXPECT_EQ(list.count, 2);
    std::string shown;
    for (WifiStation* station = list.head; station != nullptr;) {
        shown += macText(station->mac) + "|" + station->tx + "|" + station->rx + "|" +
                 station->connType + "\n";
        std::free(std::exchange(station, station->next));
    }
    EXPECT_EQ(shown,
              "02:57:a0:00:00:01|866.7 Mb/s||Main_5GH\n"
              "02:57:a0:00:00:06|a tx of more than thirty-one by|rx|x\n");
    folder.hook("stations", "exit 3");
    EXPECT_EQ(getWIFIConfig(&list), 3);
    EXPECT_EQ(list.head, nullptr);
}
