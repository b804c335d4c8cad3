#include <gtest/gtest.h>

#include "sim/mesh.h"
#include "sim/picture.h"

namespace sim {
namespace {

struct Quiet {
    size_t devices;
    Seconds spacing;  // between their starts
    Seconds minutes;
};

class QuietMesh : public testing::TestWithParam<Quiet> {};

// On one shared segment, each minute: every device multicasts its two discoveries. To a neighbour
// that it did not hear of within 5 seconds each device answers with a vendor discovery and a query,
// and is answered; its vendor discovery may be such news to the first, so that both ask: 6 frames.
// 3 seconds after any such news a device multicasts a notification, to which every other device
// asks a query that is answered: 2 frames. When all discoveries fall into one second, so do the
// news; else there may be news at each device's turn. Every 30 seconds each device asks each other
// for its configuration, addresses, stations and power states: 9 frames with the answers, and at
// most 15 more when a topology response has told of it anew.
TEST_P(QuietMesh, SendsNoMoreThanItsPeriodsAskFor) {
    const auto [n, spacing, minutes] = GetParam();
    Mesh mesh;
    std::vector<Device> devices;
    const Segment segment = mesh.segment({});
    for (size_t i = 0; i < n; i++) {
        devices.push_back(mesh.addDevice("d" + std::to_string(i)));
        mesh.attach(segment, {devices.back(), "eth0"});
        mesh.run(spacing);
    }
    mesh.run(130);
    std::vector<std::string> sizes;
    for (const Device device : devices) sizes.push_back(mesh.in(device, tableSizes));

    const size_t before = mesh.framesSent();
    mesh.run(60 * minutes);
    const size_t perMinute = (mesh.framesSent() - before) / static_cast<size_t>(minutes);
    const size_t notifications = spacing == 0 ? 1 : n;
    EXPECT_LE(perMinute, n * (2 + notifications +
                              (n - 1) * (6 + 2 * notifications + 2 * 9 + 15 * notifications)));
    EXPECT_GE(perMinute, n * 2 + n * (n - 1) * 3) << "the mesh is asleep";

    for (size_t i = 0; i < n; i++) EXPECT_EQ(mesh.in(devices[i], tableSizes), sizes[i]) << i;
    EXPECT_EQ(remotes(mesh.json(devices[0])).size(), n - 1);
}
INSTANTIATE_TEST_SUITE_P(Of, QuietMesh,
                         testing::Values(Quiet{5, 0, 60}, Quiet{5, 11, 10}, Quiet{20, 0, 2}));

// That the device in the middle has neighbours on two interfaces is no news each time it is told.
// On both cables, each minute: 8 discoveries; 6 frames for each pair of neighbours, of which there
// are 2, and 3 when the hop forwards; a notification of each device, without forwarding one more
// because of devices further off, which come and go by their notifications alone; each of them is 2
// frames and 2 queries that are answered. And each neighbour asks the other what the vendor
// protocol tells, see above.
TEST(QuietLine, IsQuietWithAndWithoutForwarding) {
    for (const bool forwards : {false, true}) {
        Mesh mesh;
        const Device a = mesh.addDevice("a");
        const Device b = mesh.addDevice("b", {.intfs = {"eth0", "eth1"}, .forwards = forwards});
        const Device c = mesh.addDevice("c");
        mesh.cable(a, "eth0", b, "eth0");
        mesh.cable(b, "eth1", c, "eth0");
        mesh.run(130);
        const size_t before = mesh.framesSent();
        mesh.run(600);
        const unsigned standard = 8 + (forwards ? 3 * 6 + 3 * 6 : 2 * 6 + 6 * 6);
        const unsigned vendor = forwards ? 6 * (2 * 9 + 15) : 4 * (2 * 9 + 2 * 15);
        EXPECT_LE((mesh.framesSent() - before) / 10, standard + vendor) << forwards;
    }
}

}  // namespace
}  // namespace sim
