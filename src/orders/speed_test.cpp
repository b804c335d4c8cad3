#include "orders/speed_test.h"

#include <algorithm>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "net/vend_sender.h"
#include "orders/schedule.h"
#include "platform/device.h"
#include "wire/sync_text.h"

namespace {

constexpr int32_t kOneWaits = 0;
constexpr int32_t kNoneWaits = 1;

SpeedTestState& speedTest() {
    return stateOf<SpeedTestState>();
}

VendMsgType orderType() {
    return speedTest().order.enable != 0 ? VEND_MSG_TYPE_SPEEDTEST_START
                                         : VEND_MSG_TYPE_SPEEDTEST_STOP;
}

}  // namespace

int noteSpeedTestOrder(const MacAddr& target, const SpeedTestCtrlReq& order) {
    speedTest().order = order;
    speedTest().repeats = 0;
    speedTest().silent.clear();
    if (!target.isZero()) {
        speedTest().silent.push_back(target);
    } else if (const TopolTable* topol = getNetTopolTable()) {
        for (const auto& dev : topol->devs) speedTest().silent.push_back(dev.alMac);
    }
    if (speedTest().silent.empty()) return kFailure;
    return setSpeedTestSendCtrlflag(kOneWaits) == 0 ? kOk : kFailure;
}

int noteSpeedTestAck(const MacAddr& almac) {
    std::erase(speedTest().silent, almac);
    (void)initSpeedTestData();
    if (!speedTest().silent.empty()) return kOk;
    return setSpeedTestSendCtrlflag(kNoneWaits) == 0 ? kOk : kFailure;
}

void noteSpeedTestClient(const MacAddr& almac) {
    speedTest().client = almac;
}

int checkSpeedTestCtrl() {
    if (speedTest().repeats >= scheduleSettings().SpeedTestCtrl_LoopCount) {
        for (const MacAddr& almac : speedTest().silent) {
            LOG(2, "speed test order is not acknowledged by (" MAC_FMT ")\n", MAC_ARGS(almac));
        }
        speedTest().silent.clear();
    }
    if (speedTest().silent.empty()) {
        (void)setSpeedTestSendCtrlflag(kNoneWaits);
        return kOk;
    }
    speedTest().repeats++;
    for (const MacAddr& almac : speedTest().silent) {
        LOG(4, "retry send SpeedTest order to (" MAC_FMT ")\n", MAC_ARGS(almac));
        (void)sendVendMsg(almac, orderType(), SpeedTestCtrlReq(speedTest().order));
    }
    return kOk;
}

int sendSpeedTestData() {
    std::string text;
    const MacAddr* own = getAlMac();
    if (own == nullptr || fetchSyncText(getSpeedTestData, text) != 0) return kFailure;
    auto payload = TextPayload{*own, text};
    // If no device ordered the test, all of them get its figures.
    if (speedTest().client.isZero())
        return sendVendMcastMsg(VEND_MSG_TYPE_SPEEDTEST_DATA, std::move(payload));
    return sendVendMsg(speedTest().client, VEND_MSG_TYPE_SPEEDTEST_DATA, std::move(payload));
}

int runSpeedTestCtrl() {
    return getSpeedTestSendCtrlflag() == kOneWaits ? checkSpeedTestCtrl() : kOk;
}

int paceSpeedTestData() {
    if (getSpeedTestState() != 0) {
        speedTest().started = 0;
        return kOk;
    }
    (void)sendSpeedTestData();
    if (speedTest().started == 0) {
        speedTest().started = now();
    } else if (now() - speedTest().started >= getSpeedTestTimeout()) {
        (void)setSpeedTestState(0);
        speedTest().started = 0;
    }
    return kOk;
}
