// The firmware upgrade of the extenders by their Registrar. The platform library decides when: it
// calls the entry points in platform/exports.h, checkEXdeviceFWVersion for the first phase and
// checkEXdeviceFWStateIsReady for the second.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/mac_addr.h"

// Sends a device its order. version is what its firmware-upgrade component told; the host names
// select what the platform offers. kOk, or kFailure when the last order is not long ago or the
// platform offers nothing.
int sendEXdeviceFWCtrl(const MacAddr& alMac, std::string_view version, const char* ownHostname,
                       const char* hostname);

// Asks a device for its firmware state. The result of the send.
int sendFWStatechangeRequest(const MacAddr& alMac);

// Sends a firmware order with these arguments; url may be nullptr. The result of the send.
int sendFWCtrlTodevice(const MacAddr& alMac, uint8_t fwOption, uint8_t fwTopoOption,
                       const char* url);

// Asks the platform for the state of the own upgrade (both values are passed on to it) and stores
// it; a change rewrites the data model. kOk.
int updateFWUpgradeStatus(int32_t value1, int32_t value2);
