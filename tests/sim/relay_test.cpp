#include <gtest/gtest.h>

#include <algorithm>

#include "sim/mesh.h"
#include "sim/picture.h"

namespace sim {
namespace {

// The number of times that a notification of the first device travels on each cable.
struct Topology {
    const char* name;
    size_t devices;
    std::vector<std::pair<size_t, size_t>> cables;  // each on the next free interfaces
    bool forwards;
    std::vector<size_t> transmissions;
};
const Topology kTopologies[] = {
    // Both ways around end at the opposite device, which relays the copy that arrives first.
    {"Ring", 4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, false, {1, 1, 2, 1}},
    // The frame from one cable is relayed by the other, back to its sender.
    {"TwoCables", 2, {{0, 1}, {0, 1}}, false, {1, 2}},
    // The kernel bridges forward the frames that the daemons relay.
    {"ForwardingLine", 4, {{0, 1}, {1, 2}, {2, 3}}, true, {1, 2, 3}},
};

TEST(Relay, EachNotificationEndsSoon) {
    for (const auto& topology : kTopologies) {
        SCOPED_TRACE(topology.name);
        Mesh mesh;
        std::vector<Device> devices;
        for (size_t i = 0; i < topology.devices; i++) {
            const DeviceOptions options{.intfs = {"eth0", "eth1"}, .forwards = topology.forwards};
            devices.push_back(mesh.addDevice("d" + std::to_string(i), options));
        }
        std::vector<unsigned> used(devices.size());
        std::vector<Names> expected(devices.size());
        std::vector<Segment> cables;
        const auto plug = [&](size_t i) {
            return Plug{devices[i], "eth" + std::to_string(used[i]++)};
        };
        for (const auto& [from, to] : topology.cables) {
            cables.push_back(mesh.segment({plug(from), plug(to)}));
            expected[from].insert(mesh.alMac(devices[to]));
            expected[to].insert(mesh.alMac(devices[from]));
        }
        mesh.run(30);

        for (const Segment cable : cables) mesh.tap(cable);
        mesh.in(devices[0], changeLed);
        mesh.run(8);
        unsigned id = 0;  // of the last notification
        std::vector<size_t> times;
        for (const Segment cable : cables) {
            std::vector<unsigned> ids;
            for (const auto& sent : mesh.frames(cable)) {
                if (sent.type != kMsgTopolNtf) continue;
                const MacAddr teller(&sent.frame.at(25));
                if (macText(teller) == mesh.alMac(devices[0])) ids.push_back(sent.id);
            }
            if (times.empty() && !ids.empty()) id = ids.back();
            times.push_back(static_cast<size_t>(std::ranges::count(ids, id)));
        }
        EXPECT_EQ(times, topology.transmissions);

        for (size_t i = 0; i < devices.size(); i++) {
            for (const Device other : devices) {
                if (topology.forwards && other != devices[i]) expected[i].insert(mesh.alMac(other));
            }
            EXPECT_EQ(known(mesh.json(devices[i])), expected[i]) << i;
        }
    }
}

// More messages go around a ring than its devices remember.
TEST(Relay, AStormEnds) {
    Mesh mesh;
    std::vector<Device> ring;
    for (const auto* name : {"a", "b", "c", "d"})
        ring.push_back(mesh.addDevice(name, {.intfs = {"eth0", "eth1"}}));
    for (size_t i = 0; i < ring.size(); i++)
        mesh.tap(mesh.cable(ring[i], "eth0", ring[(i + 1) % ring.size()], "eth1"));
    mesh.run(30);
    mesh.in(ring[0], [] {
        for (uint8_t n = 1; n <= 100; n++) {
            const MacAddr stranger{2, 0xEE, 0, 0, 0, n};
            EXPECT_TRUE(fakeNet().inject("eth0", frame1905(k1905Multicast, stranger, kMsgTopolNtf,
                                                           n, macTlv(1, stranger) + endOfMsg())));
        }
    });
    mesh.run(1);  // throws if the devices never come to rest
    const auto notifications = [&] {
        return std::ranges::count(mesh.frames(Segment{0}), kMsgTopolNtf, &Sent::type);
    };
    EXPECT_GE(notifications(), 64);
    mesh.run(1);
    EXPECT_LT(notifications(), 8) << "those of the ring itself";
}

}  // namespace
}  // namespace sim
