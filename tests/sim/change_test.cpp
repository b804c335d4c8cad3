#include <gtest/gtest.h>

#include "sim/mesh.h"
#include "sim/picture.h"

namespace sim {
namespace {

constexpr Seconds kSilence = 130;   // after which a neighbour is gone
constexpr Seconds kDiscovery = 60;  // period

// What the device's change log tells of another.
std::vector<std::string> historyOf(Mesh& mesh, Device of, Device at) {
    auto list = changes(mesh.changeLog(at));
    std::erase_if(list,
                  [&](const std::string& entry) { return !entry.ends_with(text(mesh.alMac(of))); });
    for (auto& entry : list) entry.resize(entry.find(' '));
    return list;
}

using History = std::vector<std::string>;

TEST(Change, CutCableAndJoinedAgain) {
    Mesh mesh;
    const Device a = mesh.addDevice("a");
    const Device b = mesh.addDevice("b");
    const Segment cable = mesh.cable(a, "eth0", b, "eth0");
    mesh.run(10);
    mesh.cut(cable);
    mesh.run(kSilence - 10 - 1);
    for (const Device device : {a, b}) EXPECT_EQ(known(mesh.jsonNow(device)).size(), 1U);
    mesh.run(1);
    for (const Device device : {a, b}) {
        EXPECT_TRUE(known(mesh.jsonNow(device)).empty());
        EXPECT_TRUE(mesh.command(device, tableSizes).ends_with(", neighbors 0, eth0 0"));
    }
    mesh.join(cable);
    mesh.run(kDiscovery);
    EXPECT_EQ(known(mesh.json(a)), Names{text(mesh.alMac(b))});
    EXPECT_EQ(known(mesh.json(b)), Names{text(mesh.alMac(a))});
    const History expected{"NewNeighbor", "LostNeighbor", "NewNeighbor"};
    EXPECT_EQ(historyOf(mesh, b, a), expected);
    EXPECT_EQ(historyOf(mesh, a, b), expected);
}

TEST(Change, SilentDeviceOfThreeVanishesAndReturns) {
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
        EXPECT_EQ(historyOf(mesh, c, device), (History{"NewNeighbor", "LostNeighbor"}));
        // Nor does anybody list it as a neighbour of somebody else.
        const Json dev = remotes(mesh.json(device)).at(text(mesh.alMac(other)));
        EXPECT_EQ(dev.at("IEEE1905NeighborNumberOfEntries"), 1);
    }
    mesh.start(c);
    mesh.run(0);
    EXPECT_EQ(known(mesh.jsonNow(a)), (Names{text(mesh.alMac(b)), text(mesh.alMac(c))}));
    EXPECT_EQ(known(mesh.jsonNow(c)), (Names{text(mesh.alMac(a)), text(mesh.alMac(b))}));
}

TEST(Change, InterfaceComesAndGoesAtRunTime) {
    Mesh mesh;
    const Device a = mesh.addDevice("a", {.spare = {"eth1"}});
    const Device b = mesh.addDevice("b");
    const Device c = mesh.addDevice("c");
    mesh.cable(a, "eth0", b, "eth0");
    mesh.cable(a, "eth1", c, "eth0");
    mesh.run(20);
    const auto aAtB = [&] { return remotes(mesh.json(b)).at(text(mesh.alMac(a))); };
    EXPECT_EQ(intfs(aAtB()).size(), 1U);
    EXPECT_EQ(known(mesh.json(c)), Names{});

    mesh.plugIn(a, "eth1");
    mesh.run(12);
    EXPECT_EQ(intfs(aAtB()), intfs(alOf(mesh.json(a))));
    EXPECT_EQ(intfs(aAtB()).size(), 2U);
    EXPECT_EQ(numbered(aAtB(), "BridgingTuple.").at(0).at("InterfaceList").size(), 2U);
    mesh.run(kDiscovery);
    EXPECT_EQ(known(mesh.json(a)), (Names{text(mesh.alMac(b)), text(mesh.alMac(c))}));
    EXPECT_EQ(known(mesh.json(c)), Names{text(mesh.alMac(a))});
    EXPECT_TRUE(
        nbrs(aAtB()).contains("Interface.2 > " + text(mesh.alMac(c)) + " 00:00:00:00:00:00"));

    mesh.plugOut(a, "eth1");
    mesh.run(12);
    EXPECT_EQ(intfs(aAtB()), intfs(alOf(mesh.json(a))));
    EXPECT_EQ(intfs(aAtB()).size(), 1U);
    EXPECT_EQ(numbered(aAtB(), "BridgingTuple.").at(0).at("InterfaceList").size(), 1U);
    EXPECT_EQ(nbrs(aAtB()).size(), 1U);
    mesh.run(kSilence);
    EXPECT_EQ(known(mesh.json(a)), Names{text(mesh.alMac(b))});
    EXPECT_EQ(known(mesh.json(c)), Names{});
}

}  // namespace
}  // namespace sim
