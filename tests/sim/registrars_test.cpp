#include <gtest/gtest.h>

#include "db/own_state.h"
#include "handlers/standard_handlers.h"
#include "sim/mesh.h"
#include "sim/picture.h"
#include "support/log_capture.h"

namespace sim {
namespace {

TEST(TwoRegistrars, AnEnrolleeKeepsToTheFirstUntilThatIsGone) {
    Mesh mesh;
    int renews = 0, searches = 0;
    const Device first = mesh.addDevice("first");
    const Device enrollee =
        mesh.addDevice("enrollee", {.prepare = [&] {
                           fakePlatform().wps.deviceType = PLATFORM_ENROLLEE;
                           fakePlatform().wpsBands[3].sendSearch = 1;
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
    for (uint8_t i = 1; i <= 20; i++) {
        const ApAutoConfInfo claim{PLATFORM_REGISTRAR, 0, {2, 0, 0, 0, 0, i}, 1};
        mesh.in(enrollee, [&] { return handleApAutoConfRenewMsg(claim); });
    }
    EXPECT_EQ(renews, 0) << "more than the list holds";
    mesh.run(140);
    mesh.kill(second);
    mesh.run(300);
    EXPECT_EQ(searches, 1);
    mesh.start(second);
    mesh.run(70);
    EXPECT_EQ(searches, 2) << "the mesh had none in between";
}

}  // namespace
}  // namespace sim
