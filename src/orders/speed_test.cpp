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

VendMsgType typeOf(const SpeedTestCtrlReq& order) {
    return order.enable != 0 ? VEND_MSG_TYPE_SPEEDTEST_START : VEND_MSG_TYPE_SPEEDTEST_STOP;
}

}  // namespace

int noteSpeedTestOrder(const MacAddr& target, uint16_t msgId, const SpeedTestCtrlReq& order) {
    auto& orders = speedTest().orders;
    if (!target.isZero()) {
        orders.insert_or_assign(target, SpeedTestOrder{order, {msgId}});
    } else if (const TopolTable* topol = getNetTopolTable()) {
        for (const auto& dev : topol->devs) {
            orders.insert_or_assign(dev.alMac, SpeedTestOrder{order, {msgId}});
        }
    }
    if (orders.empty()) return kFailure;
    return setSpeedTestSendCtrlflag(kOneWaits) == 0 ? kOk : kFailure;
}

int noteSpeedTestAck(const MacAddr& almac, uint16_t msgId) {
    auto& orders = speedTest().orders;
    const auto it = orders.find(almac);
    if (it == orders.end() || !std::ranges::count(it->second.msgIds, msgId)) return kOk;
    orders.erase(it);
    (void)initSpeedTestData();
    if (!orders.empty()) return kOk;
    return setSpeedTestSendCtrlflag(kNoneWaits) == 0 ? kOk : kFailure;
}

void noteSpeedTestClient(const MacAddr& almac) {
    speedTest().client = almac;
}

int checkSpeedTestCtrl() {
    auto& orders = speedTest().orders;
    const auto limit = static_cast<size_t>(scheduleSettings().SpeedTestCtrl_LoopCount);
    for (auto it = orders.begin(); it != orders.end();) {
        if (it->second.msgIds.size() <= limit) {
            ++it;
            continue;
        }
        LOG(2, "speed test order is not acknowledged by (" MAC_FMT ")\n", MAC_ARGS(it->first));
        it = orders.erase(it);
    }
    if (orders.empty()) {
        (void)setSpeedTestSendCtrlflag(kNoneWaits);
        return kOk;
    }
    for (auto& [almac, waiting] : orders) {
        LOG(4, "retry send SpeedTest order to (" MAC_FMT ")\n", MAC_ARGS(almac));
        uint16_t msgId = waiting.msgIds.back();
        (void)sendVendMsg(almac, typeOf(waiting.order), SpeedTestCtrlReq(waiting.order), &msgId);
        waiting.msgIds.push_back(msgId);
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
