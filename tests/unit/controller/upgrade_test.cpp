// The firmware upgrade of the extenders, observed by the orders that they get.
#include "controller/controller_loop.h"
#include "controller/firmware_upgrade.h"
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
        startWithPeer();
        fakePlatform().fwUrl = "u\nr";
        fakePlatform().fwFileName = "f";
    }
    static std::string phaseOne(int mode) {
        const int result = checkEXdeviceFWVersion(mode);
        std::string all = orders();
        EXPECT_EQ(result == kOk, all.starts_with("20:06") || all.starts_with("46:")) << all;
        return all;
    }
};

constexpr const char* kOrder = "20:06000401750a72 ";

TEST_F(Upgrade, OrdersFollowStateVersionAndAge) {
    // The platform offers version 2.0.0.
    const std::tuple<uint8_t, const char*, int, std::string> stateVersionModeSent[] = {
        {PLATFORM_FW_IDLE, "1.0", 1, kOrder},    {PLATFORM_FW_IDLE, "2.0.0", 1, ""},
        {PLATFORM_FW_FAILED, "1.0", 4, kOrder},  {PLATFORM_FW_FAILED, "2.0.0", 4, ""},
        {PLATFORM_FW_FAILED, "1.0", 3, ""},      {PLATFORM_FW_FAILED, "2.0.0", 2, "20:000000 "},
        {PLATFORM_FW_UPGRADE, "1.0", 1, kOrder}, {PLATFORM_FW_BUSY, "1.0", 1, ""},
    };
    for (const auto& [state, version, mode, sent] : stateVersionModeSent) {
        (void)removeallFWupgradelist();
        dev().firmwareState = state;
        dev().firmwareVersion = std::string_view(version);
        EXPECT_EQ(phaseOne(mode), sent) << int(state) << " " << version << " " << mode;
    }
    // Only one version of the component takes an order with a file name.
    dev().firmwareState = PLATFORM_FW_IDLE;
    dev().firmwareVersion = "1.0";
    for (const auto& [version, order] : {std::pair{"1501", kOrder},
                                         {"1502", "46:0400000106010001010200017503000166 "},
                                         {"1503", kOrder}}) {
        (void)removeallFWupgradelist();
        dev().info.fwUpgradeVersion = std::string_view(version);
        EXPECT_EQ(phaseOne(1), order) << version;
    }
    // There is no second order too soon, and none to an upgrading device for four minutes.
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
    const std::string question = "37:021905000001 ";
    const std::string reboot = "4:02ee00000001 ";
    const auto phaseTwo = [](const std::string& expected) {
        const int result = checkEXdeviceFWStateIsReady();
        EXPECT_EQ(orders(), expected) << int(dev().firmwareState);
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
    EXPECT_EQ(phaseTwo(""), kFailure) << "ordered 79 seconds ago";
    (void)addFWupgradelist(peer(1).al, 0, 0);
    EXPECT_EQ(phaseTwo(reboot), kFailure) << "the reboot is not yet answered";
    LogCapture log(1);
    for (const auto& [id, code] : {std::pair{138U, "00"}, {139U, "10"}}) {
        (void)tell(kPeer, id, 5, hex(code));
    }
    EXPECT_EQ(occurrences(log.text(), "refused by (02:ee:00:00:00:01): 16"), 1U);
    EXPECT_EQ(phaseTwo(""), kOk);
    fakePlatform().fail = {"getDownloanURL"};
    EXPECT_EQ(sendEXdeviceFWCtrl(peer(2).al, "0", "a", "b"), kFailure);
    EXPECT_EQ(findFWupgradelist(peer(2).al), nullptr);
}

}  // namespace
