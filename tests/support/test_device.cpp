#include "support/test_device.h"

#include <sys/ipc.h>

#include <memory>

#include "base/state.h"

namespace {

std::unique_ptr<TestDevice> fresh;

const bool started = (freshDevice(), true);

}  // namespace

TestDevice::TestDevice() {
    auto& slots = std::get<SlotsState>(state);
    slots.request.key = slots.response.key = IPC_PRIVATE;
    std::get<WakeFifo>(state).path = "";
    for (std::string* folder :
         {&std::get<MessageLog>(state).folder, &std::get<ResultFiles>(state).folder,
          &std::get<RootAp>(state).folder, &std::get<OwnNames>(state).folder}) {
        *folder = "/dev/null";  // in which nothing can be made
    }
}

FakePlatform& fakePlatform() {
    return stateOf<FakePlatform>();
}

FakeNet& fakeNet() {
    return stateOf<FakeNet>();
}

void useDevice(TestDevice& device) {
    stateInUse<FakePlatform> = &device.platform;
    stateInUse<FakeNet> = &device.net;
    useDevice(device.state);
}

void freshDevice() {
    auto next = std::make_unique<TestDevice>();
    useDevice(*next);
    fresh = std::move(next);
}
