// Three of four devices have the key of the mesh.
#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "net/vend_sender.h"
#include "sim/mesh.h"
#include "sim/picture.h"

namespace {

using namespace sim;

class KeyedMesh : public testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        const std::string key = folder_ + "/key";
        std::ofstream(key) << std::string(32, 'k');
        std::filesystem::permissions(key, std::filesystem::perms(0600));
        for (size_t i = 0; i < 4; i++) {
            DeviceOptions options{.intfs = {"eth0", "eth1"}};
            options.options = i < 3 ? "MESH_KEY=" + key + "\n" : "";
            options.prepare = [this, i] {
                fakePlatform().onAction = [this, i] { note(i, fakePlatform().calls.back()); };
            };
            devices_.push_back(mesh_.addDevice("d" + std::to_string(i), options));
        }
        left_ = mesh_.cable(devices_[0], "eth0", devices_[1], "eth0");
        const Segment right = mesh_.cable(devices_[1], "eth1", devices_[2], "eth0");
        mesh_.attach(right, {devices_[3], "eth0"});
        mesh_.run(70);
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    void note(size_t device, const std::string& call) {
        leds_.at(device) += call.starts_with("setLEDvalue") ? 1 : 0;
        renews_.at(device) += call.starts_with("notifyApAutoConfRenewMsg") ? 1 : 0;
    }
    // Whether an order of one device is obeyed by another.
    bool manages(size_t from, size_t to) {
        const int before = leds_.at(to);
        const MacAddr target(hex(mesh_.alMac(devices_[to])).data());
        mesh_.in(devices_[from], [&] {
            return sendVendMsg(target, VEND_MSG_TYPE_LED_CTRL_REQ, OptionPayload{target, 1});
        });
        mesh_.run(1);
        return leds_.at(to) == before + 1;
    }

    Mesh mesh_;
    std::vector<Device> devices_;
    Segment left_{};
    std::array<int, 4> leds_{}, renews_{};
    std::string folder_ = "/tmp/key_XXXXXX";
};

TEST_F(KeyedMesh, OnlyItsDevicesManageEachOther) {
    for (const auto& [from, to] : {std::pair<size_t, size_t>{0, 1}, {1, 0}, {1, 2}, {2, 1}}) {
        EXPECT_TRUE(manages(from, to)) << from << to;
    }
    EXPECT_FALSE(manages(3, 1));
    EXPECT_FALSE(manages(3, 2));
    EXPECT_TRUE(known(mesh_.jsonNow(devices_[1])).contains(mesh_.alMac(devices_[3])));

    // The middle device relays what it cannot sign itself.
    ApAutoConfRenewReq renew{};
    mesh_.in(devices_[0],
             [&] { return fakePlatform().raiseServReq(SERV_REQ_AP_AUTOCONF_RENEW, &renew); });
    mesh_.run(1);
    EXPECT_EQ(renews_, (std::array{0, 1, 1, 1}));

    // An order from before the sender's restart.
    mesh_.tap(left_);
    ASSERT_TRUE(manages(1, 0));
    const auto carried = mesh_.frames(left_);
    mesh_.kill(devices_[1]);
    mesh_.start(devices_[1]);
    mesh_.run(70);
    EXPECT_TRUE(manages(1, 0));
    const int before = leds_[0];
    for (const auto& sent : carried) {
        mesh_.in(devices_[0], [&] { return fakeNet().inject("eth0", sent.frame); });
    }
    mesh_.run(1);
    EXPECT_EQ(leds_[0], before);
}

}  // namespace
