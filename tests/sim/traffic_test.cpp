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

// The frames per minute on one shared segment:
// - Every device multicasts 2 discoveries.
// - A device that hears a neighbor after more than 5 seconds sends it a vendor discovery and a
//   query, which is answered. The neighbor may do the same: 6 frames per pair.
// - 3 seconds after such news a device multicasts a notification. Every other device sends a query,
//   which is answered: 2 frames. If all devices start together there is one such notification per
//   device, otherwise up to one for each other device's turn.
// - Every 30 seconds each device asks each other one for its configuration, addresses, stations and
//   power states: 9 frames with the answers, and at most 15 more after a topology response.
TEST_P(QuietMesh, SendsNoMoreThanItsPeriodsAskFor) {
    const auto [n, spacing, minutes] = GetParam();
    Mesh mesh;
    const std::vector<Device> devices = mesh.addSegment(n, spacing);
    mesh.run(130);
    std::vector<std::string> sizes;
    for (const Device device : devices) sizes.push_back(mesh.in(device, tableSizes));

    const size_t before = mesh.framesSent();
    mesh.run(60 * minutes);
    const size_t perMinute = (mesh.framesSent() - before) / static_cast<size_t>(minutes);
    const size_t news = spacing == 0 ? 1 : n;
    EXPECT_LE(perMinute, n * (2 + news + (n - 1) * (6 + 2 * news + size_t{2} * 9 + 15 * news)));
    EXPECT_GE(perMinute, n * 2 + n * (n - 1) * 3) << "the mesh is asleep";

    for (size_t i = 0; i < n; i++) EXPECT_EQ(mesh.in(devices[i], tableSizes), sizes[i]) << i;
    EXPECT_EQ(remotes(mesh.json(devices[0])).size(), n - 1);
}
INSTANTIATE_TEST_SUITE_P(Of, QuietMesh,
                         testing::Values(Quiet{5, 0, 60}, Quiet{5, 11, 10}, Quiet{20, 0, 2}));

// A device with neighbors on two interfaces must not be news each time. The frames per minute on
// both cables:
// - 8 discoveries.
// - 6 frames per pair of neighbors: 2 pairs, or 3 if the device in the middle forwards.
// - 6 frames per notification, with its queries and answers: one per device, or two without
//   forwarding, because the devices at the ends know of each other by notifications only.
// - The vendor queries as above.
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
