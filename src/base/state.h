// Where a module finds its state. The states of all modules together are a device
// (daemon/device_state.h): there may be several, and one of them is in use.
#pragma once

template <typename State>
inline State* stateInUse = nullptr;

template <typename State>
State& stateOf() {
    return *stateInUse<State>;
}
