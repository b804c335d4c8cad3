#include "daemon/device_state.h"

#include "base/state.h"

void useDevice(DeviceState& device) {
    const auto use = [](auto&... states) {
        ((stateInUse<std::remove_reference_t<decltype(states)>> = &states), ...);
    };
    std::apply(use, static_cast<ModuleStates&>(device));
}
