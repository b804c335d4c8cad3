#include <gtest/gtest.h>

#include "sim/mesh.h"
#include "sim/picture.h"
#include "support/fake_platform.h"

namespace sim {
namespace {

constexpr Seconds kSilence = 130;  // after which a neighbour is gone

// What the device's change log tells of another.
std::vector<std::string> historyOf(Mesh& mesh, Device of, Device at) {
    auto list = changes(mesh.changeLog(at));
    std::erase_if(list,
                  [&](const std::string& entry) { return !entry.ends_with(text(mesh.alMac(of))); });
    for (auto& entry : list) entry.resize(entry.find(' '));
    return list;
}

// What each device says of itself all others say of it, and they know nobody else.
void expectAgreement(Mesh& mesh, const std::vector<Device>& devices) {
    std::vector<std::map<std::string, Json>> heard;
    std::vector<Json> files;
    for (const Device device : devices) {
        files.push_back(mesh.json(device));
        heard.push_back(remotes(files.back()));
        EXPECT_EQ(heard.back().size(), devices.size() - 1);
    }
    for (size_t teller = 0; teller < devices.size(); teller++) {
        const Json& own = alOf(files[teller]);
        for (size_t listener = 0; listener < devices.size(); listener++) {
            if (listener == teller) continue;
            const auto entry = heard[listener].find(text(mesh.alMac(devices[teller])));
            ASSERT_NE(entry, heard[listener].end()) << listener << " does not know " << teller;
            EXPECT_EQ(own.at("IEEE1905Id"), entry->second.at("IEEE1905Id"));
            EXPECT_EQ(own.at("InterfaceNumberOfEntries"),
                      entry->second.at("InterfaceNumberOfEntries"));
            EXPECT_EQ(intfs(own), intfs(entry->second));
            EXPECT_EQ(entry->second.at("IEEE1905NeighborNumberOfEntries"), devices.size() - 1);
        }
    }
}

class SharedSegment : public testing::TestWithParam<size_t> {};

TEST_P(SharedSegment, AllKnowAll) {
    Mesh mesh;
    std::vector<Device> devices;
    std::vector<Plug> plugs;
    for (size_t i = 0; i < GetParam(); i++) {
        DeviceOptions options;
        if (i == 0) {
            options.prepare = [] {
                fakePlatform().intfs[0].mediaType = 0x0105;
                fakePlatform().intfs[0].mediaInfo.resize(10, 7);
            };
        }
        devices.push_back(mesh.addDevice("d" + std::to_string(i), options));
        plugs.push_back({devices.back(), "eth0"});
    }
    mesh.segment(plugs);
    mesh.run(10);

    expectAgreement(mesh, devices);
}
INSTANTIATE_TEST_SUITE_P(Of, SharedSegment, testing::Values(5, 20),
                         testing::PrintToStringParamName());

TEST(Discovery, NeighborsAreGroupedByLocalInterface) {
    Mesh mesh;
    const Device b = mesh.addDevice("b", {.intfs = {"eth0", "eth1", "eth2"}});
    const Device a = mesh.addDevice("a");
    const Device c = mesh.addDevice("c", {.intfs = {"eth0", "eth1"}});
    const Device d = mesh.addDevice("d");
    mesh.cable(a, "eth0", b, "eth0");
    mesh.segment({{b, "eth2"}, {c, "eth1"}, {d, "eth0"}});
    mesh.run(10);

    const auto nbr = [&](const char* local, Device device, const char* intf) {
        return std::string(local) + " > " + text(mesh.alMac(device)) + " " +
               text(mesh.mac(device, intf));
    };
    // The interface of a neighbour is known where its own record is.
    const auto atD = remotes(mesh.json(d)).at(text(mesh.alMac(b)));
    EXPECT_EQ(nbrs(atD), (Names{"Interface.1 > " + text(mesh.alMac(a)) + " 00:00:00:00:00:00",
                                nbr("Interface.3", c, "eth1"), nbr("Interface.3", d, "eth0")}));
    EXPECT_EQ(known(mesh.json(b)),
              (Names{text(mesh.alMac(a)), text(mesh.alMac(c)), text(mesh.alMac(d))}));
    EXPECT_EQ(known(mesh.json(a)), Names{text(mesh.alMac(b))});
}

TEST(Discovery, LongResponseIsReassembled) {
    Mesh mesh;
    DeviceOptions options;
    options.intfs.clear();
    for (int i = 0; i < 40; i++) options.intfs.push_back("eth" + std::to_string(i));
    options.prepare = [] {
        for (auto& intf : fakePlatform().intfs) {
            for (uint8_t n = 0; n < 5; n++) intf.nbrs.push_back({6, 0, 0, 0, intf.mac.b[5], n});
        }
    };
    const Device big = mesh.addDevice("big", options);
    const Device small = mesh.addDevice("small");
    const Segment cable = mesh.cable(big, "eth39", small, "eth0");
    mesh.tap(cable);
    mesh.run(10);

    Names fragments;
    for (const auto& frame : mesh.frames(cable)) {
        EXPECT_LE(frame.bytes.size(), 1500U);
        if (frame.etherType() != kEtherType1905 || frame.type() != 3) continue;
        if (frame.src() != mesh.mac(big, "eth39")) continue;
        fragments.insert(std::to_string(frame.fragId()) + (frame.last() ? " last" : ""));
    }
    EXPECT_EQ(fragments, (Names{"0", "1 last"}));
    expectAgreement(mesh, {big, small});
    const Json dev = remotes(mesh.json(small)).at(text(mesh.alMac(big)));
    EXPECT_EQ(numbered(dev, "NonIEEE1905Neighbor.").size(), 200U);
    EXPECT_EQ(numbered(dev, "NonIEEE1905Neighbor.").back().at("LocalInterface"), "Interface.40");
    EXPECT_EQ(numbered(dev, "BridgingTuple.").at(0).at("InterfaceList").size(), 40U);
    EXPECT_EQ(nbrs(dev), (Names{"Interface.40 > " + text(mesh.alMac(small)) + " " +
                                text(mesh.mac(small, "eth0"))}));
}

TEST(Discovery, SilentDeviceOfThreeVanishesAndReturns) {
    Mesh mesh;
    const Device a = mesh.addDevice("a");
    const Device b = mesh.addDevice("b");
    const Device c = mesh.addDevice("c");
    mesh.segment({{a, "eth0"}, {b, "eth0"}, {c, "eth0"}});
    mesh.run(20);
    mesh.kill(c);
    mesh.run(kSilence);
    for (const auto& [device, other] : {std::pair{a, b}, std::pair{b, a}}) {
        EXPECT_EQ(known(mesh.json(device)), Names{text(mesh.alMac(other))});
        EXPECT_NE(mesh.command(device, tableSizes).find(", neighbors 1, eth0 1,"),
                  std::string::npos);
        // Nor does anybody list it as a neighbour of somebody else.
        const Json dev = remotes(mesh.json(device)).at(text(mesh.alMac(other)));
        EXPECT_EQ(dev.at("IEEE1905NeighborNumberOfEntries"), 1);
    }
    mesh.start(c);
    mesh.run(0);
    EXPECT_EQ(known(mesh.jsonNow(a)), (Names{text(mesh.alMac(b)), text(mesh.alMac(c))}));
    EXPECT_EQ(known(mesh.jsonNow(c)), (Names{text(mesh.alMac(a)), text(mesh.alMac(b))}));
    for (const Device device : {a, b}) {
        EXPECT_EQ(historyOf(mesh, c, device),
                  (std::vector<std::string>{"NewNeighbor", "LostNeighbor", "NewNeighbor"}));
    }
}

}  // namespace
}  // namespace sim
