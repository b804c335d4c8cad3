// The speed test: a hook measures, the daemon carries orders and figures.
#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "api.h"
#include "common/hook.h"
#include "common/text.h"

namespace plat {
namespace {

struct SpeedTest {
    bool running = false;
    int timeout = 0;
    int32_t sendCtrlFlag = 1;
};
SpeedTest speedTest;

}  // namespace
}  // namespace plat

using namespace plat;

int setSpeedTestStartStop(const SpeedTestCtrl* ctrl) {
    if (ctrl == nullptr) return kFailure;
    const std::string url(ctrl->url, ::strnlen(ctrl->url, sizeof ctrl->url));
    const bool start = ctrl->enable != 0;
    constexpr uint32_t kMost = std::numeric_limits<int>::max();
    const auto timeout = static_cast<int>(std::min(ctrl->runtime, kMost));
    return runHook(
        "speed-test",
        {std::to_string(ctrl->enable), std::to_string(ctrl->action), url,
         std::to_string(ctrl->startTime), std::to_string(ctrl->runtime), macText(ctrl->lanMac)},
        [start, timeout](int result, const std::string&) {
            if (result == 0) speedTest = {start, timeout, speedTest.sendCtrlFlag};
        });
}

int outputSpeedTestData(const uint8_t* alMac, const char* data) {
    return runHook("speed-test-result", {macText(alMac), orEmpty(data)});
}

int initSpeedTestData(void) {
    speedTest.running = false;
    speedTest.timeout = 0;
    return kOk;
}

int getSpeedTestState(void) {
    return speedTest.running ? kOk : kFailure;
}

int setSpeedTestState(int32_t running) {
    speedTest.running = running != 0;
    return kOk;
}

int getSpeedTestTimeout(void) {
    return speedTest.timeout;
}

int getSpeedTestSendCtrlflag(void) {
    return speedTest.sendCtrlFlag;
}

int setSpeedTestSendCtrlflag(int32_t flag) {
    speedTest.sendCtrlFlag = flag;
    return kOk;
}
