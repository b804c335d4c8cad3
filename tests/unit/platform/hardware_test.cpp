// Decisions about interfaces that cannot be made up in a namespace: switches, bonds, radios.
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <net/if.h>

#include <cstdlib>
#include <memory>

#include "netctrl/links.h"
#include "netctrl/wireless.h"
#include "support.h"

using plat::Link;

TEST(Links, TakePartByTheirKind) {
    const ScratchFolder folder;
    folder.platformConf("EXCLUDE = eth7 tap1\nINCLUDE = tap*\n");
    const MacAddr mac(2, 0, 0, 0, 0, 1);
    const auto link = [&mac](int index, const char* name, const char* kind, int master, int lower) {
        Link made;
        made.index = index;
        made.name = name;
        made.kind = kind;
        made.ethernet = true;
        made.mac = mac;
        made.master = master;
        made.lower = lower;
        return made;
    };
    std::vector<Link> links = {
        link(2, "eth0", "", 0, 0),     link(3, "lan1", "dsa", 9, 2),
        link(4, "eth1", "", 5, 0),     link(5, "bond0", "bond", 9, 0),
        link(6, "eth2", "", 9, 0),     link(7, "eth2.5", "vlan", 9, 6),
        link(8, "eth7", "", 9, 0),     link(9, "br-lan", "bridge", 0, 0),
        link(10, "tap0", "tun", 9, 0), link(11, "tap1", "tun", 9, 0),
        link(12, "tun0", "tun", 0, 0), link(13, "dummy0", "dummy", 0, 0),
        link(14, "wlan0", "", 0, 0),   link(15, "lo", "", 0, 0),
        link(16, "mon0", "", 0, 0),    link(17, "late0", "", 0, 0),
    };
    links[13].flags = IFF_LOOPBACK;
    links[14].ethernet = false;
    links[15].mac = {};
    std::vector<std::string> takingPart;
    for (const Link& each : links)
        if (plat::takesPart(each, links)) takingPart.push_back(each.name);
    EXPECT_EQ(takingPart,
              (std::vector<std::string>{"lan1", "bond0", "eth2", "eth2.5", "tap0", "wlan0"}));
}

namespace {

// An answer of nl80211, attribute by attribute.
using WifiMessage = std::unique_ptr<nl_msg, decltype(&nlmsg_free)>;

WifiMessage wifiMessage() {
    WifiMessage made(nlmsg_alloc(), nlmsg_free);
    (void)nlmsg_put(made.get(), 0, 0, 0, GENL_HDRLEN, 0);
    (void)nla_put_u32(made.get(), NL80211_ATTR_IFINDEX, 7);
    return made;
}

// An answer to NL80211_CMD_GET_INTERFACE.
WifiMessage wifiAnswer(uint32_t type, uint32_t frequency, uint32_t width, uint32_t center) {
    WifiMessage made = wifiMessage();
    (void)nla_put_u32(made.get(), NL80211_ATTR_IFTYPE, type);
    (void)nla_put(made.get(), NL80211_ATTR_MAC, 6, MacAddr(2, 0, 0, 0, 0, 9).b.data());
    if (frequency == 0) return made;
    (void)nla_put_u32(made.get(), NL80211_ATTR_WIPHY_FREQ, frequency);
    (void)nla_put_u32(made.get(), NL80211_ATTR_CHANNEL_WIDTH, width);
    (void)nla_put_u32(made.get(), NL80211_ATTR_CENTER_FREQ1, center);
    return made;
}

}  // namespace

TEST(Radios, AreDescribedByTheirChannel) {
    struct Case {
        uint32_t type, frequency, width, center;
        bool onChannel;
        uint32_t mediaType;
        const char* info;
    };
    const Case cases[] = {
        {NL80211_IFTYPE_AP, 5180, NL80211_CHAN_WIDTH_80, 5210, true, 0x0105,
         "020000000009 00 02 2a 00"},
        {NL80211_IFTYPE_AP, 2437, NL80211_CHAN_WIDTH_20, 2437, true, 0x0103,
         "020000000009 00 00 06 00"},
        {NL80211_IFTYPE_AP, 2484, NL80211_CHAN_WIDTH_20, 2484, true, 0x0103,
         "020000000009 00 00 0e 00"},
        {NL80211_IFTYPE_STATION, 5500, NL80211_CHAN_WIDTH_40, 5510, true, 0x0105,
         "000000000000 40 01 66 00"},
        {NL80211_IFTYPE_STATION, 0, 0, 0, false, 0x0103, "000000000000 40 00 00 00"},
    };
    for (const Case& c : cases) {
        const auto answer = wifiAnswer(c.type, c.frequency, c.width, c.center);
        const auto wifi = plat::parseWifiInterface(nlmsg_hdr(answer.get()));
        ASSERT_TRUE(wifi);
        EXPECT_EQ(wifi->onChannel, c.onChannel);
        EXPECT_EQ(wifi->mediaType, c.mediaType);
        EXPECT_EQ(plat::hexText(wifi->info), plat::hexText(*plat::parseHex(c.info)));
    }
    const auto cut = wifiAnswer(NL80211_IFTYPE_AP, 5180, 0, 5210);
    nlmsg_hdr(cut.get())->nlmsg_len = NLMSG_HDRLEN + 2;
    EXPECT_FALSE(plat::parseWifiInterface(nlmsg_hdr(cut.get())));
}

TEST(Radios, TellTheirStations) {
    const auto answer = wifiMessage();
    nl_msg* const msg = answer.get();
    (void)nla_put(msg, NL80211_ATTR_MAC, 6, MacAddr(2, 0x57, 0xa0, 0, 0, 1).b.data());
    EXPECT_FALSE(plat::parseWifiStation(nlmsg_hdr(msg))) << "nothing is told of it";
    nlattr* const info = nla_nest_start(msg, NL80211_ATTR_STA_INFO | NLA_F_NESTED);
    (void)nla_put_s8(msg, NL80211_STA_INFO_SIGNAL, -40);
    (void)nla_put_s8(msg, NL80211_STA_INFO_SIGNAL_AVG, -55);
    nlattr* const tx = nla_nest_start(msg, NL80211_STA_INFO_TX_BITRATE | NLA_F_NESTED);
    (void)nla_put_u16(msg, NL80211_RATE_INFO_BITRATE, 8667);
    (void)nla_put_u32(msg, NL80211_RATE_INFO_BITRATE32, 866'70);
    (void)nla_nest_end(msg, tx);
    nlattr* const rx = nla_nest_start(msg, NL80211_STA_INFO_RX_BITRATE | NLA_F_NESTED);
    (void)nla_put_u16(msg, NL80211_RATE_INFO_BITRATE, 7805);
    (void)nla_nest_end(msg, rx);
    (void)nla_nest_end(msg, info);
    const auto station = plat::parseWifiStation(nlmsg_hdr(msg));
    ASSERT_TRUE(station);
    EXPECT_EQ(plat::macText(station->mac), "02:57:a0:00:00:01");
    EXPECT_EQ(station->rate, 8667);
    EXPECT_EQ(station->rssi, 40);
    EXPECT_EQ(station->signalLevel, 90);
    EXPECT_STREQ(station->tx, "8667.0 Mb/s");
    EXPECT_STREQ(station->rx, "780.5 Mb/s");

    const ScratchFolder folder;
    folder.platformConf("WIFI_ROLE.wlan1 = Guest_5GH\n");
    EXPECT_EQ(plat::connTypeOf("wlan1", 5500, false), "Guest_5GH");
    EXPECT_EQ(plat::connTypeOf("wlan0", 5500, false), "Main_5G");
    EXPECT_EQ(plat::connTypeOf("wlan0", 2437, true), "Mesh_2G");
}

TEST(Netlink, ASocketAnswersRequestAfterRequest) {
    auto socket = plat::NetlinkSocket::open(NETLINK_GENERIC);
    ASSERT_TRUE(socket);
    // For a family by its name.
    const std::vector<uint8_t> ask = *plat::parseHex("03010000 0b00 0200 6e6c6374726c 0000");
    int answers = 0;
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(socket->request(GENL_ID_CTRL, 0, ask, [&](nlmsghdr*) { ++answers; }));
    EXPECT_EQ(answers, 3);
}

TEST(Stations, AreTheLinesOfAHook) {
    const ScratchFolder folder;
    folder.hook("stations",
                "echo '02:57:a0:00:00:01, 0x0105, 866, 40, 90, 866.7 Mb/s, , Main_5GH'\n"
                "echo '02:57:a0:00:00:02, 0x0105, 866, 40, 90, tx, rx'\n"
                "echo '02:57:a0:00:00, 0x0105, 866, 40, 90, tx, rx, Main_5GH'\n"
                "echo '02:57:a0:00:00:04, 0x0105, 66000, 40, 90, tx, rx, Main_5GH'\n"
                "echo '02:57:a0:00:00:05,259,72,0,0,a tx of more than thirty-one bytes,rx,x,y'\n"
                "printf '\\n02:57:a0:00:00:06,259,72,0,0,a tx of more than thirty-one bytes,rx,x'");
    WifiStationList list{};
    ASSERT_EQ(getWIFIConfig(&list), 0);
    std::vector<std::string> shown;
    while (list.head != nullptr) {
        WifiStation* const station = list.head;
        list.head = station->next;
        shown.push_back(plat::macText(station->mac) + " " + std::to_string(station->mediaType) +
                        " " + std::to_string(station->rate) + " " + std::to_string(station->rssi) +
                        " " + std::to_string(station->signalLevel) + "|" + station->tx + "|" +
                        station->rx + "|" + station->connType);
        std::free(station);
    }
    EXPECT_EQ(list.count, 2);
    EXPECT_EQ(shown, (std::vector<std::string>{
                         "02:57:a0:00:00:01 261 866 40 90|866.7 Mb/s||Main_5GH",
                         "02:57:a0:00:00:06 259 72 0 0|a tx of more than thirty-one by|rx|x"}));
    folder.hook("stations", "exit 3");
    EXPECT_EQ(getWIFIConfig(&list), 3);
    EXPECT_EQ(list.head, nullptr);
}
