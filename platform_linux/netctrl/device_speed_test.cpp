// The speed test. A hook measures; the daemon transports orders and results.
#include <algorithm>
#include <ctime>
#include <limits>
#include <string>

#include "api.h"
#include "base/result.h"
#include "common/hook.h"
#include "common/text.h"

namespace {

struct {
    bool running = false;
    int timeout = 0;
    uint32_t startTime = 0;  // seconds since the epoch
    int32_t sendCtrlFlag = 1;
} speedTest;

}  // namespace

int setSpeedTestStartStop(const SpeedTestCtrl* ctrl) {
    if (ctrl == nullptr) return kFailure;
    const std::string url(fieldText(ctrl->url));
    const bool start = ctrl->enable != 0;
    constexpr uint32_t kMost = std::numeric_limits<int>::max();
    const auto timeout = static_cast<int>(std::min(ctrl->runtime, kMost));
    return runHook(
        "speed-test",
        {std::to_string(ctrl->enable), std::to_string(ctrl->action), url,
         std::to_string(ctrl->startTime), std::to_string(ctrl->runtime), macText(ctrl->lanMac)},
        [start, timeout, startTime = ctrl->startTime](int result, const std::string&) {
            if (result == 0) speedTest = {start, timeout, startTime, speedTest.sendCtrlFlag};
        });
}

int outputSpeedTestData(const uint8_t* alMac, const char* data) {
    if (hasHook("speed-test-result")) {
        return runHook("speed-test-result", {macText(alMac), orEmpty(data)});
    }
    // Without a hook the results go to the platform log.
    return outputlogData(
        ("[SpeedTest] " + macText(alMac) + ": " + plainText(orEmpty(data))).c_str());
}

int getSpeedTestData(char data[PLATFORM_SYNC_DATA_LEN]) {
    return askIfThere("speed-test-data", {}, data, PLATFORM_SYNC_DATA_LEN);
}

int initSpeedTestData() {
    speedTest.running = false;
    speedTest.timeout = 0;
    return kOk;
}

int getSpeedTestState() {
    const bool begun = time(nullptr) >= static_cast<time_t>(speedTest.startTime);
    return speedTest.running && begun ? kOk : kFailure;
}

int setSpeedTestState(int32_t running) {
    speedTest.running = running != 0;
    return kOk;
}

int getSpeedTestTimeout() {
    return speedTest.timeout;
}

int getSpeedTestSendCtrlflag() {
    return speedTest.sendCtrlFlag;
}

int setSpeedTestSendCtrlflag(int32_t flag) {
    speedTest.sendCtrlFlag = flag;
    return kOk;
}
