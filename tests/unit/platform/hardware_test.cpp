// Decisions about interfaces that cannot be made up in a namespace: switches, bonds, radios.
#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <net/if.h>

#include <cstring>

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

// An answer to NL80211_CMD_GET_INTERFACE.
class WifiAnswer {
  public:
    WifiAnswer(uint32_t type, uint32_t frequency, uint32_t width, uint32_t center) {
        message_.resize(NLMSG_HDRLEN + GENL_HDRLEN);
        add(NL80211_ATTR_IFINDEX, uint32_t{7});
        add(NL80211_ATTR_IFTYPE, type);
        add(NL80211_ATTR_MAC, MacAddr(2, 0, 0, 0, 0, 9).b);
        if (frequency != 0) add(NL80211_ATTR_WIPHY_FREQ, frequency);
        if (frequency != 0) add(NL80211_ATTR_CHANNEL_WIDTH, width);
        if (frequency != 0) add(NL80211_ATTR_CENTER_FREQ1, center);
        header()->nlmsg_len = static_cast<uint32_t>(message_.size());
    }
    nlmsghdr* header() { return reinterpret_cast<nlmsghdr*>(message_.data()); }

  private:
    template <class Value>
    void add(uint16_t type, const Value& value) {
        const nlattr attr{static_cast<uint16_t>(NLA_HDRLEN + sizeof value), type};
        const size_t at = message_.size();
        message_.resize(at + NLA_HDRLEN + NLA_ALIGN(sizeof value));
        std::memcpy(message_.data() + at, &attr, sizeof attr);
        std::memcpy(message_.data() + at + NLA_HDRLEN, &value, sizeof value);
    }
    std::vector<uint8_t> message_;
};

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
         "020000000009"
         "00"
         "02"
         "2a"
         "00"},
        {NL80211_IFTYPE_AP, 2437, NL80211_CHAN_WIDTH_20, 2437, true, 0x0103,
         "020000000009"
         "00"
         "00"
         "06"
         "00"},
        {NL80211_IFTYPE_STATION, 5500, NL80211_CHAN_WIDTH_40, 5510, true, 0x0105,
         "000000000000"
         "40"
         "01"
         "66"
         "00"},
        {NL80211_IFTYPE_STATION, 0, 0, 0, false, 0x0103,
         "000000000000"
         "40"
         "00"
         "00"
         "00"},
    };
    for (const Case& c : cases) {
        WifiAnswer answer(c.type, c.frequency, c.width, c.center);
        const auto wifi = plat::parseWifiInterface(answer.header());
        ASSERT_TRUE(wifi);
        EXPECT_EQ(wifi->onChannel, c.onChannel);
        EXPECT_EQ(wifi->mediaType, c.mediaType);
        EXPECT_EQ(plat::hexText(wifi->info), c.info);
    }
    WifiAnswer cut(NL80211_IFTYPE_AP, 5180, 0, 5210);
    cut.header()->nlmsg_len = NLMSG_HDRLEN + 2;
    EXPECT_FALSE(plat::parseWifiInterface(cut.header()));
}
