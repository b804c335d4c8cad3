#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <ostream>

#include "sim/mesh.h"
#include "sim/picture.h"
#include "support/log_capture.h"

namespace sim {
namespace {

constexpr unsigned kNotification = 1;

using Frames = std::vector<SeenFrame>;

// Of the frames the notifications of a device, or the one with this identifier alone.
Frames notificationsOf(const MacAddr& alMac, Frames frames, std::optional<unsigned> id = {}) {
    std::erase_if(frames, [&](const SeenFrame& frame) {
        return frame.etherType() != kEtherType1905 || frame.type() != kNotification ||
               frame.alMac() != alMac || (id && frame.id() != *id);
    });
    return frames;
}

// Lets a device send a notification; tells how it travelled on each cable, the first one being the
// device's own.
std::vector<Frames> notify(Mesh& mesh, Device device, const std::vector<Segment>& cables) {
    for (const Segment cable : cables) mesh.tap(cable);
    (void)mesh.command(device, changeLed, "on");
    mesh.run(8);
    const MacAddr alMac = mesh.alMac(device);
    std::vector<Frames> seen;
    for (const Segment cable : cables) seen.push_back(mesh.frames(cable));
    const unsigned id = notificationsOf(alMac, seen.at(0)).back().id();
    for (auto& frames : seen) frames = notificationsOf(alMac, std::move(frames), id);
    return seen;
}

TEST(Relay, NotificationCrossesIsolatedHops) {
    Mesh mesh;
    const Device a = mesh.addDevice("a");
    const Device b = mesh.addDevice("b", {.intfs = {"eth0", "eth1"}});
    const Device c = mesh.addDevice("c");
    const Segment ab = mesh.cable(a, "eth0", b, "eth0");
    const Segment bc = mesh.cable(b, "eth1", c, "eth0");
    mesh.run(30);
    EXPECT_EQ(known(mesh.json(a)), Names{text(mesh.alMac(b))});
    EXPECT_EQ(known(mesh.json(b)), (Names{text(mesh.alMac(a)), text(mesh.alMac(c))}));
    EXPECT_EQ(known(mesh.json(c)), Names{text(mesh.alMac(b))});

    const auto travelled = notify(mesh, a, {ab, bc});
    ASSERT_EQ(travelled[0].size(), 1U);
    ASSERT_EQ(travelled[1].size(), 1U);
    const SeenFrame& sent = travelled[0][0];
    const SeenFrame& relayed = travelled[1][0];
    EXPECT_EQ(sent.src(), mesh.mac(a, "eth0"));
    EXPECT_EQ(relayed.src(), mesh.mac(b, "eth1"));
    Frame expected = sent.bytes;
    std::copy_n(relayed.bytes.begin() + 6, 6, expected.begin() + 6);
    EXPECT_EQ(relayed.bytes, expected) << "all but the source stays";
    EXPECT_EQ(relayed.time, sent.time);

    // Once more, while it is remembered and after.
    for (const size_t times : {0U, 1U}) {
        mesh.run(sent.time + 5 + static_cast<Seconds>(times) - mesh.time());
        (void)mesh.frames(bc);
        mesh.inject(ab, sent.bytes);
        mesh.run(0);
        EXPECT_EQ(notificationsOf(mesh.alMac(a), mesh.frames(bc), sent.id()).size(), times);
    }
    const std::string dropped = "(AL MAC = " + text(mesh.alMac(a)) +
                                ", msgType = 0, msgId = " + std::to_string(sent.id()) +
                                ") has generated/received\r\n";
    EXPECT_EQ(occurrences(mesh.log(b), dropped), 1U);
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
    std::vector<size_t> transmissions;
    for (const auto& frames : notify(mesh, devices[0], cables)) {
        transmissions.push_back(frames.size());
    }
    EXPECT_EQ(transmissions, GetParam().transmissions);

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
