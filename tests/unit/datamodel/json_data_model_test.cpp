#include "datamodel/json_data_model.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "datamodel/json_device.h"
#include "datamodel/labels.h"
#include "support/fake_platform.h"
#include "support/test_clock.h"

namespace {

using Json = nlohmann::ordered_json;

const std::string kGolden =
#include "golden_device.inc"
    ;

MacAddr alMac(uint8_t device) {
    return {0x02, 0x19, 0x05, 0, 0, device};
}
MacAddr intfMac(uint8_t device, uint8_t intf) {
    return {0x02, 0x19, 0x05, 0, device, intf};
}
MacAddr hostMac(uint8_t host) {
    return {0x02, 0, 0, 0, 0, host};
}

WifiClient station(const MacAddr& owner, const MacAddr& mac, uint32_t mediaType,
                   std::string_view connType) {
    return {owner, mac, mediaType, 300, 40, 3, Text<33>("1M"), Text<39>("2M"), Text<33>(connType)};
}

Ieee1905DevTable device(uint8_t number) {
    Ieee1905DevTable dev;
    dev.alMac = alMac(number);
    dev.intfs = {{intfMac(number, 0), 0, {}, 1, Text<16>("eth0")},
                 {intfMac(number, 1), 261, {}, 255, {}}};
    return dev;
}

// Of a remote device's object.
Json ieee1905Neighbors(const Json& dev) {
    Json found = Json::array();
    for (const auto& [key, value] : dev.items()) {
        if (key.starts_with("IEEE1905Neighbor.")) {
            EXPECT_EQ(key, "IEEE1905Neighbor." + std::to_string(found.size() + 1));
            found.push_back(value);
        }
    }
    return found;
}

class JsonDataModel : public testing::Test {
  protected:
    void SetUp() override {
        fakePlatform().reset();
        setTestTime(1077);
        al.lastChange = 1000;
        al.alMac = alMac(1);
        al.enableRebootFromNbr = 1;
        al.deviceMode = "router";
        al.fwUpgradeStatus = 1;
        al.releaseVersion = "7879";
        al.buildNumber = "42";
        al.approveFlag = -1;
        IntfTable eth0;
        eth0.name = "eth0";
        eth0.mac = intfMac(1, 0);
        eth0.mediaType = 1;
        IntfTable mesh;
        mesh.name = "wlan1-msh0";
        mesh.mac = intfMac(1, 1);
        mesh.mediaType = 260;
        mesh.pwrState = 3;
        al.intfs = {eth0, mesh};
        al.topol.enable = 1;
        al.topol.status = 1;
        al.security = {1, {'s', 'e', 'c', 'r', 'e', 't', 0, 0}};
    }
    void TearDown() override { useSystemClock(); }

    std::string text() const { return renderJsonDataModel(&al, &al.topol, &al.security); }
    Json parsedAl() const { return Json::parse(text())["Device"]["X_5E1F09_IEEE1905"]["AL"]; }
    Json parsedDevice(int number) const {
        return parsedAl()["NetworkTopology"]["IEEE1905Device." + std::to_string(number)];
    }

    AlTable al;
};

// Everything that a device's object can hold.
Ieee1905DevTable fullDevice() {
    Ieee1905DevTable dev = device(2);
    dev.firmwareState = 4;
    dev.firmwareVersion = "2.1";
    dev.hostname = "attic";
    dev.deviceIP = "192.168.1.2";
    dev.deviceLanMac = "02:19:05:00:00:bb";
    dev.deviceMode = "extender";
    dev.releaseVersion = "8000";
    dev.releaseVersionGit = "NEW_9.3";
    dev.role = 1;
    dev.buildNumber = "7";
    dev.deviceUptime = "5 days";
    DeviceInfo& info = dev.info;
    info.ledStatus = "on";
    info.ledBrightness = "80";
    info.daisychainOption = "1";
    info.netStateDnsmasq = 3;
    info.netStateIntfInBridge = 4;
    info.configure = 2;
    info.sshState = "ssh";
    info.telnetState = "telnet";
    info.countryCode = "DE";
    info.wifiCountryCode = "FR";
    info.wifi24GChannel = "6";
    info.wifi5GChannel = "36";
    info.wifi5G2Channel = "100";
    info.ipv6 = {"fe80::1", "2001:db8::1"};
    info.ethernetPortState = "1,0";
    info.backhaulType = "wifi";
    info.appVersion = "1.0";
    info.l2DeviveCtrlVersion = "11";
    info.wifiAutoCfgVersion = "12";
    info.wifiOnOffVersion = "13";
    info.fwUpgradeVersion = "1502";
    info.ledOnOffVersion = "none";
    info.vm1905Version = "99999999999999999999";
    dev.non1905Lists = {{intfMac(2, 0), {hostMac(1)}}, {intfMac(2, 1), {hostMac(2)}}};
    dev.ieee1905Lists = {{intfMac(2, 0), {{alMac(1), 0}}},
                         {intfMac(2, 1), {{alMac(3), 1}}},
                         {intfMac(2, 9), {{alMac(4), 0}}}};
    dev.wifiClients = {station({}, hostMac(2), 260, "Main_5GH"),
                       {alMac(3), intfMac(3, 1), 261, 866, 50, 4, Text<33>("3M"), Text<39>("4M"),
                        Text<33>("Mesh_5G")}};
    dev.brdgTuples = {{{intfMac(2, 0), intfMac(2, 1)}}};
    return dev;
}

TEST_F(JsonDataModel, IsWrittenToTheByte) {
    IntfNbrDev nbr;
    nbr.nbrAlMac = alMac(2);
    nbr.is1905 = true;
    al.intfs.front().nbrs = {nbr};
    al.topol.devs = {fullDevice()};
    fakePlatform().notApproved = {alMac(2)};
    EXPECT_EQ(text(), kGolden);
    EXPECT_TRUE(Json::accept(kGolden));
}

TEST_F(JsonDataModel, RoleDecidesWhatIsTold) {
    const auto keysAround = [](const Json& object, const std::string& before) {
        auto it = object.find(before);
        return it.key() + " " + std::next(it).key();
    };
    al.topol.devs = {fullDevice()};
    EXPECT_EQ(keysAround(parsedAl(), "DaisychainOption"), "DaisychainOption NetworkState_dnsmasq");
    EXPECT_EQ(keysAround(parsedDevice(1), "WIFICountryCode"), "WIFICountryCode Authorized");
    al.wpsConfig[0] = 1;
    al.wifiReload = 2;
    EXPECT_EQ(parsedAl()["DeviceType"], "Enrollee");
    EXPECT_EQ(parsedAl()["AP-autoconfig_WiFiReload"], 2);
    EXPECT_EQ(keysAround(parsedAl(), "DaisychainOption"),
              "DaisychainOption AP-autoconfig_WiFiReload");
    EXPECT_EQ(keysAround(parsedDevice(1), "WIFICountryCode"), "WIFICountryCode WIFI24GChannel");
}

TEST_F(JsonDataModel, ShapeIsTheSameForAnyNumberOfEntries) {
    const std::vector<std::string> lowerLayers{"[  ]", R"([ "Interface.1" ])",
                                               R"([ "Interface.1", "Interface.2" ])"};
    const IntfTable intf = al.intfs.front();
    for (uint8_t n = 0; n <= 2; n++) {
        al.intfs.assign(n, intf);
        al.topol.devs.clear();
        for (uint8_t i = 0; i < n; i++) {
            Ieee1905DevTable dev = device(static_cast<uint8_t>(2 + i));
            dev.intfs.resize(n);
            dev.brdgTuples.resize(n);
            dev.non1905Lists = {{{}, std::vector<MacAddr>(n, hostMac(1))}};
            dev.ieee1905Lists = {{{}, std::vector<Ieee1905Nbr>(n)}};
            dev.info.ipv6.assign(n, "::1");
            al.topol.devs.push_back(dev);
        }
        EXPECT_NE(text().find("\"LowerLayers\": " + lowerLayers[n] + ",\n"), std::string::npos);
        const auto alObject = parsedAl();
        EXPECT_EQ(alObject["InterfaceNumberOfEntries"], n);
        EXPECT_EQ(alObject.contains("Interface.1"), n >= 1);
        EXPECT_EQ(alObject.contains("Interface.2"), n >= 2);
        const auto& topology = alObject["NetworkTopology"];
        EXPECT_EQ(topology["IEEE1905DeviceNumberOfEntries"], n);
        EXPECT_EQ(topology.size(), 3u + n);
        for (int i = 1; i <= n; i++) {
            const auto dev = topology["IEEE1905Device." + std::to_string(i)];
            EXPECT_EQ(dev["IPv6IP"].size(), n);
            for (const std::string prefix :
                 {"Interface", "NonIEEE1905Neighbor", "IEEE1905Neighbor", "BridgingTuple"}) {
                EXPECT_EQ(dev[prefix + "NumberOfEntries"], n);
                EXPECT_EQ(dev.contains(prefix + ".1"), n >= 1);
                EXPECT_EQ(dev.contains(prefix + ".2"), n >= 2);
            }
        }
    }
}

TEST_F(JsonDataModel, MissingTablesLeaveOutWhatTheyHold) {
    EXPECT_EQ(renderJsonDataModel(nullptr, nullptr, nullptr),
              "{\n\t\"Device\": {\n\t\t\"X_5E1F09_IEEE1905\": {\n");
    const std::string whole = text();
    const size_t topology = whole.find(",\n\t\t\t\t\"NetworkTopology\"");
    const size_t security = whole.find(",\n\t\t\t\t\"Security\"");
    ASSERT_LT(topology, security);
    ASSERT_NE(security, std::string::npos);
    EXPECT_EQ(renderJsonDataModel(&al, nullptr, &al.security),
              whole.substr(0, topology) + whole.substr(security));
    EXPECT_EQ(renderJsonDataModel(&al, &al.topol, nullptr), whole.substr(0, security));
}

TEST_F(JsonDataModel, TextsAreWrittenAsStored) {
    al.deviceMode = "a\"b\\c\n\x01";
    EXPECT_NE(text().find("\"DeviceMode\": \"a\"b\\c\n\x01\",\n"), std::string::npos);
}

TEST_F(JsonDataModel, NeighbourInterfaceComesFromTheNeighboursOwnRecord) {
    // Two cables between 2 and 3; 3 also hears 2 over the air, as the first of its lists.
    Ieee1905DevTable two = device(2);
    two.ieee1905Lists = {{intfMac(2, 0), {{alMac(3), 0}, {alMac(4), 0}}}};
    Ieee1905DevTable three = device(3);
    three.ieee1905Lists = {{intfMac(3, 1), {{alMac(2), 0}}}, {intfMac(3, 0), {{alMac(2), 0}}}};
    al.topol.devs = {two, three, device(4)};
    const Json nbrs = ieee1905Neighbors(parsedDevice(1));
    ASSERT_EQ(nbrs.size(), 2u);
    EXPECT_EQ(nbrs[0]["NeighborInterfaceId"], "02:19:05:00:03:00");
    EXPECT_EQ(nbrs[0]["MediaType"], "IEEE 802.3u(IEEE 802.3u Fast Ethernet)");
    EXPECT_EQ(nbrs[1]["NeighborInterfaceId"], "00:00:00:00:00:00");
    EXPECT_EQ(nbrs[1]["MediaType"], "Unknown");
}

TEST_F(JsonDataModel, EveryWifiLinkToANeighbourIsAnObject) {
    Ieee1905DevTable dev = device(2);
    dev.ieee1905Lists = {{intfMac(2, 1), {{alMac(3), 0}, {{}, 0}, {alMac(4), 0}}}};
    dev.wifiClients = {station(alMac(3), intfMac(3, 1), 259, "Mesh_24G"),
                       station({}, hostMac(1), 261, "Main_5G"),
                       station(alMac(3), intfMac(3, 2), 261, "Main_5G")};
    al.topol.devs = {dev};
    const Json nbrs = ieee1905Neighbors(parsedDevice(1));
    ASSERT_EQ(nbrs.size(), 4u);
    EXPECT_EQ(nbrs[0]["NeighborInterfaceId"], "02:19:05:00:03:01");
    EXPECT_EQ(nbrs[1]["NeighborInterfaceId"], "02:19:05:00:03:02");
    EXPECT_EQ(nbrs[1]["MediaType"], "IEEE 802.11ac(IEEE 802.11ac (5GHz))");
    EXPECT_EQ(nbrs[1]["LocalInterface"], "Interface.2");
    EXPECT_FALSE(nbrs[2].contains("RATE"));
    EXPECT_FALSE(nbrs[3].contains("RATE"));

    const WifiClient* client = &dev.wifiClients[0];
    EXPECT_EQ(checkIntfMacMediaType(dev, hostMac(9), client), 0);
    EXPECT_EQ(client, &dev.wifiClients[0]);
}

TEST(MediaLabels, HighBandAndItsOddities) {
    const struct {
        uint32_t mediaType;
        const char* plain;
        const char* intf;
        const char* non1905;
        const char* ieee1905;
    } cases[] = {
        {258, "IEEE 802.11a(IEEE 802.11a (5GHz))", "IEEE 802.11a(IEEE 802.11a (5GHz_H))",
         "IEEE 802.11a(IEEE 802.11a (5GHz_H))", "IEEE 802.11a(IEEE 802.11a (5GHz_H))"},
        {260, "IEEE 802.11n 5.0(IEEE 802.11n (5GHz))", "IEEE 802.11n 5.0(IEEE 802.11n (5GHz_H))",
         "IEEE 802.11n 5.0(IEEE 802.11n(5GHz_H))", "IEEE 802.11n 5.0(IEEE 802.11n (5GHz_H))"},
        {261, "IEEE 802.11ac(IEEE 802.11ac (5GHz))", "IEEE 802.11ac(IEEE 802.11ac (5GHz_H))",
         "IEEE 802.11ac(IEEE 802.11ac (5GHz_H))", "IEEE 802.11a(IEEE 802.11ac (5GHz_H))"},
        {259, "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))", "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))",
         "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))", "IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz))"},
    };
    for (const auto& c : cases) {
        for (const char* name : {"wlan1", "wlan1-va0", "wlan1-msh0"}) {
            EXPECT_STREQ(intfMediaLabel(c.mediaType, name), c.intf);
        }
        for (const char* connType : {"Main_5GH", "Guest_5GH", "Mesh_5G"}) {
            EXPECT_STREQ(non1905NbrMediaLabel(c.mediaType, connType), c.non1905);
            EXPECT_STREQ(ieee1905NbrMediaLabel(c.mediaType, connType), c.ieee1905);
        }
        for (const char* other : {"", "wlan0", "wlan1-va1", "Main_5G", "Mesh_5GH"}) {
            EXPECT_STREQ(intfMediaLabel(c.mediaType, other), c.plain);
            EXPECT_STREQ(non1905NbrMediaLabel(c.mediaType, other), c.plain);
            EXPECT_STREQ(ieee1905NbrMediaLabel(c.mediaType, other), c.plain);
        }
    }
}

TEST(Labels, NumbersWithoutANameAreUnknown) {
    for (const auto label : {alStatusLabel, configureLabel, pwrStateLabel}) {
        EXPECT_STREQ(label(7), "Unknown");
    }
    EXPECT_STREQ(alStatusLabel(2), "Unknown");  // between two that have one
}

}  // namespace
