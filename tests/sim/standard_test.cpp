// Meshes in standard mode, also mixed with others, and meshes with two Registrars.
#include <gtest/gtest.h>

#include <algorithm>

#include "db/own_state.h"
#include "sim/mesh.h"
#include "sim/picture.h"
#include "support/log_capture.h"

namespace sim {
namespace {

const DeviceOptions kStandard{.options = "STANDARD_1905=1\n"};
constexpr size_t kVersionAt = 14, kVendTypeAt = 36;

TEST(StandardMode, DevicesKnowEachOtherAndTellOthersNoVendorMessages) {
    Mesh mesh;
    const Device a = mesh.addDevice("a", kStandard), b = mesh.addDevice("b", kStandard);
    const Segment cable = mesh.cable(a, "eth0", b, "eth0");
    mesh.tap(cable);
    mesh.run(10);
    EXPECT_EQ(remotes(mesh.json(a)).at(mesh.alMac(b)).at("Hostname"), "b");
    EXPECT_EQ(remotes(mesh.json(b)).at(mesh.alMac(a)).at("Hostname"), "a");

    // Another make, which announces itself and answers.
    const MacAddr alMac{0x02, 0xee, 0, 0, 0, 1}, mac{0x02, 0xee, 0, 0, 1, 1};
    const Frame al = macTlv(1, alMac);
    const auto hear = [&](unsigned type, unsigned id, const Frame& tlvs) {
        const Frame frame =
            frame1905(k1905Multicast, mac, type, id, tlvs + endOfMsg(), kLastFragment, 0, 0);
        return mesh.in(a, [&] { return fakeNet().inject("eth0", frame); });
    };
    hear(kMsgTopolDisc, 1, al + macTlv(2, mac));
    mesh.run();
    auto frames = mesh.frames(cable);
    const auto query = std::ranges::find_if(
        frames, [&](const Sent& s) { return s.dst == mac && s.type == kMsgTopolQuery; });
    ASSERT_NE(query, frames.end());
    hear(kMsgTopolResp, query->id,
         tlvBytes(3, bytesOf(alMac) + Frame{1} + bytesOf(mac) + Frame{0, 1, 0}));
    mesh.run(70);
    EXPECT_TRUE(remotes(mesh.json(a)).contains(macText(alMac)));
    for (const auto& more : mesh.frames(cable)) frames.push_back(more);
    for (const auto& sent : frames) {
        EXPECT_EQ(sent.frame[kVersionAt], 0);
        const bool isForAll = sent.dst == mac || sent.dst == k1905Multicast;
        if (sent.type != kMsgVendSpec || !isForAll) continue;
        EXPECT_EQ(sent.frame[kVendTypeAt + 1], 45) << "the vendor discovery";
        EXPECT_EQ(sent.flags, kLastFragment);
    }
}

TEST(StandardMode, AMixedPairKnowsEachOtherAndSaysSo) {
    Mesh mesh;
    const Device a = mesh.addDevice("a", kStandard), b = mesh.addDevice("b");
    const Segment cable = mesh.cable(a, "eth0", b, "eth0");
    LogCapture log(1);
    mesh.run(200);
    mesh.tap(cable);
    mesh.run(200);
    EXPECT_EQ(occurrences(log.finish(), "sends version 0xa0"), 1U);
    EXPECT_EQ(remotes(mesh.json(a)).at(mesh.alMac(b)).at("StandardMode"), false);
    EXPECT_EQ(remotes(mesh.json(b)).at(mesh.alMac(a)).at("Hostname"), "a");
    for (const auto& sent : mesh.frames(cable)) {
        if (sent.dst == k1905Multicast) continue;
        EXPECT_EQ(sent.frame[kVersionAt], kCmduVersion);
    }
}

TEST(TwoRegistrars, AnEnrolleeKeepsToTheFirstUntilThatIsGone) {
    Mesh mesh;
    int renews = 0, searches = 0;
    const Device first = mesh.addDevice("first");
    const Device enrollee =
        mesh.addDevice("enrollee", {.prepare = [&] {
                           fakePlatform().wps.deviceType = PLATFORM_ENROLLEE;
                           fakePlatform().wpsBands[0].sendSearch = 1;
                           fakePlatform().onAction = [&] {
                               renews += fakePlatform().called("notifyApAutoConfRenewMsg");
                               searches += fakePlatform().called("sendWPSSearch");
                               fakePlatform().calls.clear();
                           };
                       }});
    const Segment lan = mesh.cable(first, "eth0", enrollee, "eth0");
    mesh.run();
    mesh.in(enrollee, updateWPSConfig);
    mesh.run(70);
    const auto renew = [&](Device from) {
        ApAutoConfRenewReq request{};
        (void)mesh.in(from, [&] {
            return fakePlatform().raiseServReq(SERV_REQ_AP_AUTOCONF_RENEW, &request);
        });
        mesh.run(1);
        return std::exchange(renews, 0);
    };
    LogCapture log(1);
    EXPECT_EQ(renew(first), 1);
    const Device second = mesh.addDevice("second");
    mesh.attach(lan, {second, "eth0"});
    mesh.run(70);
    EXPECT_EQ(renew(first), 1);
    EXPECT_EQ(renew(second), 0);
    EXPECT_EQ(alOf(mesh.json(enrollee)).at("OtherRegistrar"), mesh.alMac(second));
    EXPECT_EQ(alOf(mesh.json(first)).at("OtherRegistrar"), mesh.alMac(second));
    EXPECT_EQ(occurrences(log.text(), "there are two Registrars"), 3U) << "once on each";
    mesh.kill(first);
    mesh.run(60);
    EXPECT_EQ(renew(second), 0) << "the first may come back";
    EXPECT_EQ(searches, 0);
    mesh.run(140);
    EXPECT_EQ(searches, 1);
    EXPECT_EQ(renew(second), 1);
    EXPECT_FALSE(alOf(mesh.json(enrollee)).contains("OtherRegistrar"));
    EXPECT_EQ(occurrences(log.finish(), "Registrar (" + mesh.alMac(first) + ") is gone"), 2U);
}

}  // namespace
}  // namespace sim
