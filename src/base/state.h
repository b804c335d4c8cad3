// How a module finds its state. The states of all modules form a device (daemon/device_state.h).
// A program may have several devices; one of them is in use.
#pragma once

template <typename State>
inline State* stateInUse = nullptr;

// The module's state in the device in use.
template <typename State>
State& stateOf() {
    return *stateInUse<State>;
}
