#include "publish/json_data_model.h"

#include <nlohmann/json.hpp>

#include "base/state.h"
#include "publish/labels.h"
#include "support/device.h"

namespace {

using namespace std::string_view_literals;
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

// "local interface MAC media type" of every 1905 neighbor of a remote device, RATE for a Wi-Fi
// link.
std::string ieee1905Neighbors(const Json& dev) {
    std::string all;
    for (const auto& [key, nbr] : dev.items()) {
        if (!key.starts_with("IEEE1905Neighbor.")) continue;
        for (const char* member : {"LocalInterface", "NeighborInterfaceId", "MediaType"}) {
            all += nbr[member].get<std::string>() + (member[0] == 'M' ? "" : " ");
        }
        all += nbr.contains("RATE") ? " RATE\n" : "\n";
    }
    return all;
}

class JsonDataModel : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        al.lastChange = now() - 77;
        al.alMac = alMac(1);
        al.enableRebootFromNbr = 1;
        al.deviceMode = "router";
        al.fwUpgradeStatus = 1;
        al.releaseVersion = "7879";
        al.buildNumber = "42";
        al.approveFlag = -1;
        al.intfs = {
            {.name = "eth0"sv, .mac = intfMac(1, 0), .mediaType = 1},
            {.name = "wlan1-msh0"sv, .mac = intfMac(1, 1), .pwrState = 3, .mediaType = 260}};
        al.topol.enable = 1;
        al.topol.status = 1;
        al.security = {1, {'s', 'e', 'c', 'r', 'e', 't', 0, 0}};
    }
    std::string text() const { return renderJsonDataModel(&al, &al.topol, &al.security); }
    Json parsedAl() const { return Json::parse(text())["Device"]["X_5E1F09_IEEE1905"]["AL"]; }
    Json parsedDevice(int number) const {
        return parsedAl()["NetworkTopology"]["IEEE1905Device." + std::to_string(number)];
    }

    AlTable al;
};

// A device with every member that its object can have.
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
    dev.info = {"on"sv,  "80"sv,     "1"sv,    3,        4,       2,
                "ssh"sv, "telnet"sv, "DE"sv,   "FR"sv,   "6"sv,   "36"sv,
                "100"sv, {},         "1,0"sv,  "wifi"sv, "1.0"sv, "11"sv,
                "12"sv,  "13"sv,     "1502"sv, "none"sv, {},      "99999999999999999999"sv};
    dev.info.ipv6 = {"fe80::1", "2001:db8::1"};
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
    al.intfs.front().nbrs = {{.nbrAlMac = alMac(2), .is1905 = true}};
    (void)al.topol.devs.add(fullDevice());
    fakePlatform().notApproved = {alMac(2)};
    EXPECT_EQ(text(), kGolden);
    EXPECT_TRUE(Json::accept(kGolden));
}

TEST_F(JsonDataModel, MembersDependOnTheRole) {
    (void)al.topol.devs.add(fullDevice());
    al.wpsConfig[0] = 1;
    al.wifiReload = 2;
    EXPECT_NE(text().find("\"DeviceType\": \"Enrollee\",\n\t\t\t\t\"DaisychainOption\": \"\",\n"
                          "\t\t\t\t\"AP-autoconfig_WiFiReload\": 2,\n"),
              std::string::npos);
    EXPECT_EQ(text().find("Authorized"), std::string::npos)
        << "the golden file has it, as that of a Registrar";
}

TEST_F(JsonDataModel, ListsMayBeEmpty) {
    al.intfs.clear();
    (void)al.topol.devs.add({});
    EXPECT_NE(text().find("\"LowerLayers\": [  ],\n"), std::string::npos);
    const Json dev = parsedDevice(1);
    for (const auto& [key, value] : dev.items()) {
        EXPECT_TRUE(!key.ends_with("NumberOfEntries") || value == 0) << key;
        EXPECT_FALSE(key.ends_with(".1")) << key;
    }
}

TEST_F(JsonDataModel, MissingTablesLeaveOutTheirMembers) {
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

TEST_F(JsonDataModel, NeighborInterfacesAreFound) {
    // 2 and 3 are connected by two cables, and 3 also hears 2 over the air, in its first list.
    Ieee1905DevTable two = device(2);
    two.ieee1905Lists = {{intfMac(2, 0), {{alMac(3), 0}, {alMac(4), 0}}}};
    Ieee1905DevTable three = device(3);
    three.ieee1905Lists = {{intfMac(3, 1), {{alMac(2), 0}}}, {intfMac(3, 0), {{alMac(2), 0}}}};
    // This device has two cables to 4, crossed.
    Ieee1905DevTable four = device(4);
    four.intfs[1].mediaType = 0;
    four.ieee1905Lists = {{intfMac(4, 0), {{alMac(1), 0}}}, {intfMac(4, 1), {{alMac(1), 0}}}};
    al.intfs.back().mediaType = 1;
    al.intfs.front().nbrs = {{.nbrAlMac = alMac(4), .nbrIntfMac = intfMac(4, 1), .is1905 = true}};
    al.intfs.back().nbrs = {{.nbrAlMac = alMac(4), .nbrIntfMac = intfMac(4, 0), .is1905 = true}};
    // 3 is linked to 5 by a cable and two radios; a client of another medium is no link.
    Ieee1905DevTable five = device(5);
    five.intfs.push_back({intfMac(5, 2), 259, {}, 255, {}});
    for (uint8_t i = 0; i < 3; i++) {
        five.ieee1905Lists.push_back({intfMac(5, i), {{alMac(3), 0}, {{}, 0}}});
    }
    five.wifiClients = {station(alMac(3), intfMac(3, 3), 259, "Mesh_24G"),
                        station({}, hostMac(1), 261, "Main_5G"),
                        station(alMac(3), intfMac(3, 4), 0, "Main_5G"),
                        station(alMac(3), intfMac(3, 2), 261, "Main_5G")};
    for (auto* dev : {&two, &three, &four, &five}) (void)al.topol.devs.add(std::move(*dev));
    EXPECT_EQ(ieee1905Neighbors(parsedDevice(1)),
              "Interface.1 02:19:05:00:03:00 IEEE 802.3u(IEEE 802.3u Fast Ethernet)\n"
              "Interface.1 00:00:00:00:00:00 Unknown\n");
    EXPECT_EQ(ieee1905Neighbors(parsedDevice(3)),
              "Interface.1 02:19:05:00:01:01 IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)\n"
              "Interface.2 02:19:05:00:01:00 IEEE 802.3ab(IEEE 802.3ab Gigabit Ethernet)\n");
    EXPECT_EQ(ieee1905Neighbors(parsedDevice(4)),
              "Interface.1 00:00:00:00:00:00 Unknown\n"
              "Interface.1 00:00:00:00:00:00 Unknown\n"
              "Interface.2 02:19:05:00:03:02 IEEE 802.11ac(IEEE 802.11ac (5GHz)) RATE\n"
              "Interface.2 00:00:00:00:00:00 Unknown\n"
              "Interface.3 02:19:05:00:03:03 IEEE 802.11n 2.4(IEEE 802.11n (2.4GHz)) RATE\n"
              "Interface.3 00:00:00:00:00:00 Unknown\n");
}

// Each change leaves the file as if all were rendered again, and the objects of the other devices
// are not.
TEST_F(JsonDataModel, RendersTheDevicesThatChanged) {
    start();
    auto& devs = getIeee1905DevTables();
    const auto links = [](uint8_t number, uint8_t intf) {
        DevTopol dev = device(number);
        const auto other = static_cast<uint8_t>(number ^ 1);
        dev.ieee1905Lists = {{intfMac(number, intf), {{alMac(other), 0}, {kOwnAl, 0}}}};
        dev.non1905Lists = {{intfMac(number, 0), {hostMac(number)}}};
        return dev;
    };
    const auto hear = [&](const DevTopol& dev) { (void)updateIeee1905DevTable(kEth0, 1, dev); };
    // The numbers of the objects of which each half was rendered.
    using Texts = std::vector<std::array<const char*, 2>>;
    auto rendered = [before = Texts()]() mutable {
        std::string file;
        std::array<std::string, 2> numbers;
        renderDataModelFile([&](const auto& pieces, std::string_view secret) {
            for (const auto& piece : pieces) file += piece;
            file += secret;
        });
        EXPECT_EQ(file, renderJsonDataModel(getAlTable(), getNetTopolTable(), getSecurityTable()));
        const auto& blocks = stateOf<DataModelBlocks>().blocks;
        before.resize(blocks.size());
        for (size_t i = 0; i < blocks.size(); i++) {
            const auto& block = blocks[i];
            const Texts::value_type halves{block.description.data(), block.lists.data()};
            const auto old = std::exchange(before[i], halves);
            for (size_t half = 0; half < 2; half++)
                if (old[half] != halves[half]) numbers[half] += std::to_string(i + 1);
        }
        return numbers[0] + "/" + numbers[1];
    };
    for (uint8_t number = 2; number <= 5; number++) hear(links(number, 0));
    EXPECT_EQ(rendered(), "1234/1234");
    EXPECT_EQ(rendered(), "/");
    dev({alMac(4), {}}).hostname = "attic";
    EXPECT_EQ(rendered(), "3/3");
    devs.describe(*devs.begin()).hostname = "attic";
    EXPECT_EQ(rendered(), "1/");
    hear(links(2, 1));
    EXPECT_EQ(rendered(), "12/12") << "the interface on which its neighbor is heard";
    receive("eth0", discovery({alMac(4), hostMac(2)}, 1));
    EXPECT_EQ(rendered(), "13/13")
        << "a host turns out to be a device of the mesh, heard by this one";
    fakePlatform().notApproved = {alMac(5)};
    EXPECT_EQ(rendered(), "4/");
    getAlTable()->wpsConfig[0] = 1;
    EXPECT_EQ(rendered(), "1234/") << "an Enrollee shows no approval";
    (void)removeIeee1905DevTable(alMac(2));
    EXPECT_EQ(rendered(), "123/123") << "the others have new numbers";
    devs.edit(*devs.begin()).ieee1905Lists[0].nbrs.resize(100);
    EXPECT_EQ(rendered(), "1/1");
    EXPECT_LT(stateOf<DataModelBlocks>().blocks[0].lists.capacity(), 100U) << "too large to keep";
    destroyDatabase();
    EXPECT_EQ(rendered(), "/");
    EXPECT_TRUE(stateOf<DataModelBlocks>().blocks.empty());
}

// The golden file has those of the high band.
TEST(Labels, OthersArePlainOrUnknown) {
    for (const char* other : {"", "wlan1-va1", "Mesh_5GH"}) {
        for (const auto label : {intfMediaLabel, non1905NbrMediaLabel, ieee1905NbrMediaLabel})
            EXPECT_EQ(label(258, other), "IEEE 802.11a(IEEE 802.11a (5GHz))");
    }
    EXPECT_EQ(intfMediaLabel(2, "eth0"), "Unknown");
    EXPECT_EQ(pwrStateLabel(7), "Unknown");
    EXPECT_EQ(alStatusLabel(2), "Unknown");  // a gap
    EXPECT_EQ(changeEventLabel(2), "");
}

}  // namespace
