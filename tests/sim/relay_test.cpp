#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <ostream>

#include "sim/mesh.h"
#include "sim/picture.h"

namespace sim {
namespace {

constexpr unsigned kNotification = 1;

// Lets a device send a notification; tells how often it travelled on each cable, the first one
// being the device's own.
std::vector<size_t> notify(Mesh& mesh, Device device, const std::vector<Segment>& cables) {
    for (const Segment cable : cables) mesh.tap(cable);
    (void)mesh.command(device, changeLed, "on");
    mesh.run(8);
    std::optional<unsigned> id;  // of its last one
    std::vector<size_t> times;
    for (const Segment cable : cables) {
        std::vector<SeenFrame> frames = mesh.frames(cable);
        std::erase_if(frames, [&](const SeenFrame& frame) {
            return frame.etherType() != kEtherType1905 || frame.type() != kNotification ||
                   frame.alMac() != mesh.alMac(device);
        });
        if (!id) id = frames.back().id();
        times.push_back(static_cast<size_t>(std::ranges::count(frames, *id, &SeenFrame::id)));
    }
    return times;
}

// How often one notification of the first device travels on each cable.
struct Topology {
    const char* name;
    size_t devices;
    std::vector<std::pair<size_t, size_t>> cables;  // each on the next interface of its devices
    bool forwards;
    std::vector<size_t> transmissions;
};

void PrintTo(const Topology& topology, std::ostream* out) {
    *out << topology.name;
}

class Relayed : public testing::TestWithParam<Topology> {};

TEST_P(Relayed, EachNotificationEndsSoon) {
    Mesh mesh;
    std::vector<Device> devices;
    for (size_t i = 0; i < GetParam().devices; i++) {
        devices.push_back(mesh.addDevice(
            "d" + std::to_string(i), {.intfs = {"eth0", "eth1"}, .forwards = GetParam().forwards}));
    }
    std::vector<unsigned> used(devices.size());
    std::vector<Segment> cables;
    const auto nextIntf = [&](size_t i) { return "eth" + std::to_string(used[i]++); };
    for (const auto& [from, to] : GetParam().cables) {
        const std::string intf = nextIntf(from);
        cables.push_back(mesh.cable(devices[from], intf, devices[to], nextIntf(to)));
    }
    mesh.run(30);
    EXPECT_EQ(notify(mesh, devices[0], cables), GetParam().transmissions);

    const auto alMac = [&](size_t i) { return text(mesh.alMac(devices[i])); };
    for (size_t i = 0; i < devices.size(); i++) {
        Names expected;
        for (size_t other = 0; other < devices.size(); other++) {
            if (GetParam().forwards && other != i) expected.insert(alMac(other));
        }
        for (const auto& [from, to] : GetParam().cables) {
            if (from == i) expected.insert(alMac(to));
            if (to == i) expected.insert(alMac(from));
        }
        EXPECT_EQ(known(mesh.json(devices[i])), expected) << i;
    }
}
INSTANTIATE_TEST_SUITE_P(
    In, Relayed,
    testing::Values(
        // The two ways around meet in the device opposite, which relays the one that comes first.
        Topology{"Ring", 4, {{0, 1}, {1, 2}, {2, 3}, {3, 0}}, false, {1, 1, 2, 1}},
        // What comes by one cable is relayed by the other, where it is the sender's own.
        Topology{"TwoCables", 2, {{0, 1}, {0, 1}}, false, {1, 2}},
        // The kernel bridges forward what the daemons relay as well.
        Topology{"ForwardingLine", 4, {{0, 1}, {1, 2}, {2, 3}}, true, {1, 2, 3}}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace sim
