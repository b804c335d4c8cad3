// A line of four devices, of which the last lacks the key of the mesh.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "net/vend_sender.h"
#include "sim/mesh.h"

namespace sim {
namespace {

void relayOrdersAndKnowThoseFromBeforeARestart(const std::string& mode) {
    const std::string key = "/tmp/key_" + std::to_string(getpid());
    std::ofstream(key) << std::string(32, 'k');
    std::filesystem::permissions(key, std::filesystem::perms(0600));
    Mesh mesh;
    std::vector<Device> line;
    std::vector<Segment> cables;
    std::array<int, 4> leds{}, renews{};
    for (size_t i = 0; i < 4; i++) {
        DeviceOptions options{.intfs = {"eth0", "eth1"}, .options = mode};
        if (i < 3) options.options += "MESH_KEY=" + key + "\n";
        options.prepare = [&, i] {
            fakePlatform().onAction = [&, i] {
                leds[i] += fakePlatform().calls.back().starts_with("setLEDvalue");
                renews[i] += fakePlatform().calls.back().starts_with("notifyApAutoConfRenewMsg");
            };
        };
        line.push_back(mesh.addDevice("d" + std::to_string(i), options));
        if (i > 0) cables.push_back(mesh.cable(line[i - 1], "eth1", line[i], "eth0"));
    }
    mesh.run(70);
    const auto order = [&](size_t from, size_t to) {
        const MacAddr target(hex(mesh.alMac(line[to])).data());
        (void)mesh.in(line[from], [&] {
            return sendVendMsg(target, VEND_MSG_TYPE_LED_CTRL_REQ, OptionPayload{target, 1});
        });
        mesh.run(1);
    };
    for (const bool isKeyed : {false, true}) {
        ApAutoConfRenewReq renew{};
        mesh.in(line[isKeyed ? 0 : 3],
                [&] { return fakePlatform().raiseServReq(SERV_REQ_AP_AUTOCONF_RENEW, &renew); });
        mesh.run(1);
        EXPECT_EQ(renews, (isKeyed ? std::array{0, 1, 1, 1} : std::array{0, 0, 0, 0}));
    }
    mesh.tap(cables[0]);
    order(1, 0);
    order(3, 2);
    EXPECT_EQ(leds, (std::array{1, 0, 0, 0}));
    mesh.kill(line[1]);
    mesh.start(line[1]);
    mesh.run(70);
    order(1, 0);
    EXPECT_EQ(leds[0], 2);
    for (const auto& sent : mesh.frames(cables[0])) {
        mesh.in(line[0], [&] { return fakeNet().inject("eth0", sent.frame); });
    }
    mesh.run(1);
    EXPECT_EQ(leds[0], 2);
    std::filesystem::remove(key);
}

TEST(KeyedMesh, RelaysOrdersAndKnowsThoseFromBeforeARestart) {
    for (const char* mode : {"", "STANDARD_1905=1\n"}) {
        SCOPED_TRACE(mode);
        relayOrdersAndKnowThoseFromBeforeARestart(mode);
    }
}

}  // namespace
}  // namespace sim
