#include "support/fresh_device.h"

#include <memory>

#include "daemon/device_state.h"

namespace {

std::unique_ptr<DeviceState> device;

const bool isThere = (freshDevice(), true);

}  // namespace

void freshDevice() {
    auto next = std::make_unique<DeviceState>();
    useDevice(*next);
    device = std::move(next);
}
