#include <gtest/gtest.h>

#include "publish/json_change_log.h"
#include "sim/mesh.h"
#include "sim/picture.h"
#include "support/fake_platform.h"

namespace sim {
namespace {

// Each device says about the others what they say about themselves, and knows no further device.
void expectAgreement(Mesh& mesh, const std::vector<Device>& devices) {
    std::map<std::string, Json> own;
    for (const Device device : devices) own[mesh.alMac(device)] = alOf(mesh.json(device));
    for (const Device device : devices) {
        const auto heard = remotes(mesh.json(device));
        EXPECT_EQ(heard.size(), devices.size() - 1);
        EXPECT_FALSE(heard.contains(mesh.alMac(device)));
        for (const auto& [alMac, entry] : heard) {
            EXPECT_EQ(entry.at("IEEE1905NeighborNumberOfEntries"), devices.size() - 1);
            const auto ours = numbered(own[alMac], "Interface.");
            const auto theirs = numbered(entry, "Interface.");
            ASSERT_EQ(theirs.size(), ours.size()) << alMac;
            for (size_t i = 0; i < ours.size(); i++) {
                EXPECT_EQ(theirs[i].at("InterfaceId"), ours[i].at("InterfaceId"));
                EXPECT_EQ(theirs[i].at("MediaType"), ours[i].at("MediaType"));
            }
        }
    }
}

TEST(Discovery, AllOnASegmentKnowAll) {
    Mesh mesh;
    const std::vector<Device> devices = mesh.addSegment(20);
    mesh.run(10);
    expectAgreement(mesh, devices);
}

TEST(Discovery, LongResponseIsReassembled) {
    Mesh mesh;
    DeviceOptions options;
    options.intfs.clear();
    for (int i = 0; i < 40; i++) options.intfs.push_back("eth" + std::to_string(i));
    options.prepare = [] {
        fakePlatform().intfs[0].mediaType = 0x0105;
        fakePlatform().intfs[0].mediaInfo.resize(10, 7);
        for (auto& intf : fakePlatform().intfs) {
            for (uint8_t n = 0; n < 5; n++) intf.nbrs.push_back({6, 0, 0, 0, intf.mac.b[5], n});
        }
        // More than one TLV can carry.
        for (unsigned n = 0; n < 500; n++) {
            fakePlatform().intfs[1].nbrs.push_back(
                {6, 0, 0, 1, static_cast<uint8_t>(n >> 8), static_cast<uint8_t>(n)});
        }
    };
    const Device big = mesh.addDevice("big", options);
    const Device small = mesh.addDevice("small");
    mesh.cable(big, "eth39", small, "eth0");
    mesh.run(10);

    expectAgreement(mesh, {big, small});
    const Json dev = remotes(mesh.json(small)).at(mesh.alMac(big));
    EXPECT_EQ(numbered(dev, "NonIEEE1905Neighbor.").size(), 700U);
    EXPECT_EQ(numbered(dev, "NonIEEE1905Neighbor.").back().at("LocalInterface"), "Interface.40");
    EXPECT_EQ(numbered(dev, "BridgingTuple.").at(0).at("InterfaceList").size(), 40U);
}

TEST(Discovery, SilentDeviceOfThreeVanishesAndReturns) {
    Mesh mesh;
    const std::vector<Device> devices = mesh.addSegment(3);
    const Device a = devices[0], b = devices[1], c = devices[2];
    mesh.run(20);
    mesh.kill(c);
    mesh.run(130);  // the time after which a silent neighbor is removed
    expectAgreement(mesh, {a, b});
    EXPECT_NE(mesh.in(a, tableSizes).find(", neighbors 1, eth0 1,"), std::string::npos);
    mesh.start(c);
    mesh.run(0);
    EXPECT_EQ(known(mesh.jsonNow(a)), (Names{mesh.alMac(b), mesh.alMac(c)}));
    EXPECT_EQ(known(mesh.jsonNow(c)), (Names{mesh.alMac(a), mesh.alMac(b)}));

    (void)mesh.in(a, writeJsonvm1905log);
    std::string history;
    for (const auto& entry : numbered(mesh.json(a, "vm1905_log.json"), "ChangeLog.")) {
        if (entry.at("NeighborId") != mesh.alMac(c)) continue;
        history += entry.at("EventType").get<std::string>() + " ";
    }
    EXPECT_EQ(history, "NewNeighbor LostNeighbor NewNeighbor ");
}

}  // namespace
}  // namespace sim
