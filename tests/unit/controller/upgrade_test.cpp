// The firmware upgrade of the extenders, by what is sent to them.
#include "controller/controller_loop.h"
#include "controller/firmware_upgrade.h"
#include "db/device_table.h"
#include "orders/control_lists.h"
#include "orders/firmware_upgrade_list.h"
#include "platform/exports.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

class Upgrade : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        start();
        (void)removeallFWupgradelist();
        initMessageTransmitterLoop();
        meet(peer(1), 1);
        fakePlatform().fwUrl = "ftp://u\nrest";
        fakePlatform().fwFileName = "f";
        drop();
    }
    static Ieee1905DevTable& dev() { return *getIeee1905DevTableById(peer(1).al); }
    // The vendor messages sent since the last look, type and payload.
    static std::string orders() {
        std::string all;
        for (const auto& s : sentVend()) {
            all += std::to_string(s.type) + ":";
            for (const uint8_t c : s.payload) {
                all += c > ' ' && c < 127 ? std::string(1, static_cast<char>(c))
                                          : std::to_string(c) + ".";
            }
            all += " ";
        }
        return all;
    }
    static std::string phaseOne(int mode) {
        const int result = checkEXdeviceFWVersion(mode);
        std::string all = orders();
        EXPECT_EQ(result == kOk, all.starts_with("20:6.") || all.starts_with("46:")) << all;
        return all;
    }
};

constexpr const char* kOrder = "20:6.0.13.1.ftp://u10.rest ";

TEST_F(Upgrade, OrdersFollowStateVersionAndAge) {
    // Its version, which is 2.0.0 when there is nothing newer.
    const std::tuple<uint8_t, const char*, int, std::string> stateVersionModeSent[] = {
        {PLATFORM_FW_IDLE, "1.0", 1, kOrder},    {PLATFORM_FW_IDLE, "2.0.0", 1, ""},
        {PLATFORM_FW_FAILED, "1.0", 4, kOrder},  {PLATFORM_FW_FAILED, "2.0.0", 4, ""},
        {PLATFORM_FW_FAILED, "1.0", 3, ""},      {PLATFORM_FW_FAILED, "2.0.0", 2, "20:0.0.0. "},
        {PLATFORM_FW_UPGRADE, "1.0", 1, kOrder}, {PLATFORM_FW_BUSY, "1.0", 1, ""},
    };
    for (const auto& [state, version, mode, sent] : stateVersionModeSent) {
        (void)removeallFWupgradelist();
        dev().firmwareState = state;
        dev().firmwareVersion = std::string_view(version);
        EXPECT_EQ(phaseOne(mode), sent) << int(state) << " " << version << " " << mode;
    }
    // Only one version of the component takes the form with the file name.
    dev().firmwareState = PLATFORM_FW_IDLE;
    dev().firmwareVersion = "1.0";
    for (const auto& [version, order] : {std::pair{"1501", kOrder},
                                         {"1502", "46:4.0.0.1.6.1.0.1.1.2.0.7.ftp://u3.0.1.f "},
                                         {"1503", kOrder}}) {
        (void)removeallFWupgradelist();
        dev().info.fwUpgradeVersion = std::string_view(version);
        EXPECT_EQ(phaseOne(1), order) << version;
    }
    // Not again too soon; a device that upgrades is left alone for four minutes.
    LogCapture log(4);
    for (const auto& [second, sent] :
         {std::pair{5, ""}, {9, ""}, {10, ""}, {30, ""}, {31, kOrder}}) {
        (void)removeallFWupgradelist();
        (void)phaseOne(1);
        advance(second);
        EXPECT_EQ(phaseOne(1), sent) << second;
    }
    EXPECT_EQ(occurrences(log.text(), "Not to do FW upgrade, retry to fast\n"), 2U);
    dev().firmwareState = PLATFORM_FW_UPGRADE;
    advance(240);
    EXPECT_EQ(phaseOne(1), "");
    advance(1);
    EXPECT_EQ(phaseOne(1), kOrder);
    fakePlatform().notApproved = {peer(1).al};
    advance(300);
    EXPECT_EQ(phaseOne(1), "");
}

TEST_F(Upgrade, RebootsAreOrderedWhenAllAreReady) {
    const std::string question = "37:2.25.5.0.0.1. ";
    const std::string reboot = "4:2.238.0.0.0.1. ";
    const auto phaseTwo = [](const std::string& expected) {
        const int result = checkEXdeviceFWStateIsReady();
        EXPECT_EQ(orders(), expected);
        return result;
    };
    dev().firmwareState = PLATFORM_FW_IDLE;
    EXPECT_EQ(phaseTwo(""), kOk) << "nothing to do";
    dev().firmwareVersion = "1.0";
    (void)phaseOne(1);
    dev().firmwareState = PLATFORM_FW_UPGRADE;
    EXPECT_EQ(phaseTwo(question), kFailure);
    dev().firmwareState = PLATFORM_FW_REBOOT;
    advance(79);
    EXPECT_EQ(phaseTwo(""), kFailure) << "ordered a short while ago";
    (void)addFWupgradelist(peer(1).al, 0, 0);
    EXPECT_EQ(phaseTwo(reboot), kFailure) << "not finished before it answers";
    (void)addFWupgradelist(peer(1).al, 0, 2);
    EXPECT_EQ(phaseTwo(""), kOk);
    fakePlatform().fail = {"getDownloanURL"};
    EXPECT_EQ(sendEXdeviceFWCtrl(peer(2).al, "0", "a", "b"), kFailure);
    EXPECT_EQ(findFWupgradelist(peer(2).al), nullptr);
}

}  // namespace
