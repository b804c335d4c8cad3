// Hardware that a namespace does not have: switches, bonds, radios.
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <net/if.h>

#include <cstdlib>
#include <memory>

#include "netctrl/links.h"
#include "netctrl/wireless.h"
#include "support.h"

TEST(Links, TakePartByTheirKind) {
    const ScratchFolder folder("EXCLUDE = eth7 tap1\nINCLUDE = tap*\n");
    // index, name, kind, Ethernet, MAC, flags, state, master, lower
    const MacAddr mac(2, 0, 0, 0, 0, 1);
    std::vector<Link> links = {
        {1, "eth0", "", true, mac, 0, 0, 0, 0},  // the conduit of lan1
        {2, "lan1", "dsa", true, mac, 0, 0, 8, 1},
        {3, "eth1", "", true, mac, 0, 0, 4, 0},
        {4, "bond0", "bond", true, mac, 0, 0, 8, 0},
        {5, "eth2", "", true, mac, 0, 0, 8, 0},
        {6, "eth2.5", "vlan", true, mac, 0, 0, 8, 5},
        {7, "eth7", "", true, mac, 0, 0, 8, 0},
        {8, "br-lan", "bridge", true, mac, 0, 0, 0, 0},
        {9, "tap0", "tun", true, mac, 0, 0, 8, 0},
        {10, "tap1", "tun", true, mac, 0, 0, 8, 0},
        {11, "tun0", "tun", true, mac, 0, 0, 0, 0},
        {12, "dummy0", "dummy", true, mac, 0, 0, 0, 0},
        {13, "wlan0", "", true, mac, 0, 0, 0, 0},
        {14, "lo", "", true, mac, IFF_LOOPBACK, 0, 0, 0},
        {15, "mon0", "", false, mac, 0, 0, 0, 0},
        {16, "late0", "", true, {}, 0, 0, 0, 0},
    };
    const auto participants = [&] {
        std::string names;
        for (const Link& link : links) {
            if (takesPart(link, links)) names += link.name + " ";
        }
        return names;
    };
    EXPECT_EQ(participants(), "lan1 bond0 eth2 eth2.5 tap0 wlan0 ");
    // Those in a bridge and those in INCLUDE stay.
    for (Link& link : links) link.holdsDefaultRoute = true;
    links[8].master = 0;
    EXPECT_EQ(participants(), "lan1 bond0 eth2 eth2.5 tap0 ");
    for (Link& link : links) link.holdsDefaultRoute = false;
    links[4].master = links[5].master = 0;
    markUplink(6, links);
    EXPECT_EQ(participants(), "lan1 bond0 tap0 wlan0 ") << "neither the VLAN nor its cable";
}

namespace {

// The start of an answer of nl80211 about an interface.
using WifiMessage = std::unique_ptr<nl_msg, decltype(&nlmsg_free)>;

WifiMessage wifiMessage(const MacAddr& mac) {
    WifiMessage made(nlmsg_alloc(), nlmsg_free);
    nlmsg_put(made.get(), 0, 0, 0, GENL_HDRLEN, 0);
    nla_put_u32(made.get(), NL80211_ATTR_IFINDEX, 7);
    nla_put(made.get(), NL80211_ATTR_MAC, 6, mac.b.data());
    return made;
}

}  // namespace

TEST(Radios, AreDescribedByTheirChannel) {
    constexpr uint32_t kAp = NL80211_IFTYPE_AP, kSta = NL80211_IFTYPE_STATION;
    const struct {
        const char* name;
        uint32_t type, frequency, width, center, mediaType;
        const char* info;
    } table[] = {
        {"80 MHz", kAp, 5180, NL80211_CHAN_WIDTH_80, 5210, 0x0105, "02000000000900022a00"},
        {"channel 14", kAp, 2484, NL80211_CHAN_WIDTH_20, 2484, 0x0103, "02000000000900000e00"},
        {"station", kSta, 5500, NL80211_CHAN_WIDTH_40, 5510, 0x0105, "00000000000040016600"},
        {"off", kSta, 0, 0, 0, 0x0103, "00000000000040000000"},
    };
    for (const auto& row : table) {
        const auto answer = wifiMessage(MacAddr(2, 0, 0, 0, 0, 9));
        nl_msg* const msg = answer.get();
        nla_put_u32(msg, NL80211_ATTR_IFTYPE, row.type);
        if (row.frequency != 0) {
            nla_put_u32(msg, NL80211_ATTR_WIPHY_FREQ, row.frequency);
            nla_put_u32(msg, NL80211_ATTR_CHANNEL_WIDTH, row.width);
            nla_put_u32(msg, NL80211_ATTR_CENTER_FREQ1, row.center);
        }
        const auto wifi = parseWifiInterface(nlmsg_hdr(msg));
        ASSERT_TRUE(wifi) << row.name;
        EXPECT_EQ(wifi->onChannel, row.frequency != 0) << row.name;
        EXPECT_EQ(wifi->mediaType, row.mediaType) << row.name;
        EXPECT_EQ(hexText(wifi->info), row.info) << row.name;
        nlmsg_hdr(msg)->nlmsg_len = NLMSG_HDRLEN + 2;
        EXPECT_FALSE(parseWifiInterface(nlmsg_hdr(msg))) << row.name << ", cut";
    }
}

TEST(Radios, HaveStations) {
    const auto answer = wifiMessage(MacAddr(2, 0x57, 0xA0, 0, 0, 1));
    nl_msg* const msg = answer.get();
    EXPECT_FALSE(parseWifiStation(nlmsg_hdr(msg))) << "without information";
    nlattr* const info = nla_nest_start(msg, NL80211_ATTR_STA_INFO | NLA_F_NESTED);
    nla_put_s8(msg, NL80211_STA_INFO_SIGNAL_AVG, -55);
    nlattr* const tx = nla_nest_start(msg, NL80211_STA_INFO_TX_BITRATE | NLA_F_NESTED);
    nla_put_u16(msg, NL80211_RATE_INFO_BITRATE, 8667);
    nla_put_u32(msg, NL80211_RATE_INFO_BITRATE32, 866'70);
    nla_nest_end(msg, tx);
    nlattr* const rx = nla_nest_start(msg, NL80211_STA_INFO_RX_BITRATE | NLA_F_NESTED);
    nla_put_u16(msg, NL80211_RATE_INFO_BITRATE, 7805);
    nla_nest_end(msg, rx);
    nla_nest_end(msg, info);
    const auto station = parseWifiStation(nlmsg_hdr(msg));
    ASSERT_TRUE(station);
    EXPECT_EQ(macText(station->mac), "02:57:a0:00:00:01");
    EXPECT_EQ(std::tuple(station->rate, station->rssi, station->signalLevel),
              std::tuple(8667, 40, 90));
    EXPECT_EQ(std::string(station->tx) + ", " + station->rx, "8667.0 Mb/s, 780.5 Mb/s");

    const ScratchFolder folder("WIFI_ROLE.wlan1 = Guest_5GH\n");
    EXPECT_EQ(connTypeOf("wlan1", 5500, false), "Guest_5GH");
    EXPECT_EQ(connTypeOf("wlan0", 5500, false), "Main_5G");
    EXPECT_EQ(connTypeOf("wlan0", 2437, true), "Mesh_2G");
}

TEST(Radios, ShowTheirChannels) {
    const auto shown = [](const std::vector<uint32_t>& frequencies) {
        const WifiChannels channels = channelsOf(frequencies);
        return std::string(channels.band24) + "/" + channels.band5 + "/" + channels.band5High;
    };
    EXPECT_EQ(shown({0, 2437, 5745, 5180, 5180}), "6/36/149");
    EXPECT_EQ(shown({5500, 5500, 2484}), "14/100/");
    EXPECT_EQ(shown({5955, 60480, 0}), "//");
}

TEST(Netlink, ASocketAnswersSeveralRequests) {
    auto socket = NetlinkSocket::open(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    // Looks a family up by its name.
    const std::vector<uint8_t> ask = *parseHex("03010000 0b00 0200 6e6c6374726c 0000");
    int answers = 0;
    for (int i = 0; i < 3; i++) {
        EXPECT_TRUE(socket->request(GENL_ID_CTRL, 0, ask, [&](nlmsghdr*) { answers++; }));
    }
    EXPECT_EQ(answers, 3);
}

// The mesh tests check the numeric fields.
TEST(Stations, AreTheValidLinesOfTheHook) {
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
    takeList(list.head, [&shown](const WifiStation& s) {
        shown += macText(s.mac) + "|" + s.tx + "|" + s.rx + "|" + s.connType + "\n";
    });
    EXPECT_EQ(shown,
              "02:57:a0:00:00:01|866.7 Mb/s||Main_5GH\n"
              "02:57:a0:00:00:06|a tx of more than thirty-one by|rx|x\n");
    folder.hook("stations", "exit 3");
    EXPECT_EQ(getWIFIConfig(&list), 3);
    EXPECT_EQ(list.head, nullptr);
}
