// The firmware upgrade of the extenders by their Registrar. The platform library decides when: it
// calls the entry points in platform/exports.h, checkEXdeviceFWVersion for the first phase and
// checkEXdeviceFWStateIsReady for the second.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/mac_addr.h"

// Orders a device to upgrade. version is the version of the device's firmware-upgrade component;
// the platform chooses the firmware by the two host names. kOk, or kFailure if the last order was
// sent a short while ago or the platform has no firmware.
int sendEXdeviceFWCtrl(const MacAddr& alMac, std::string_view version, const char* ownHostname,
                       const char* hostname);

// Asks a device for its firmware state. kFailure without a database, else the result of the send.
int sendFWStatechangeRequest(const MacAddr& alMac);

// Sends a firmware order with these values; url may be nullptr. Returns the result of the send.
int sendFWCtrlTodevice(const MacAddr& alMac, uint8_t fwOption, uint8_t fwTopoOption,
                       const char* url);

// Asks the platform for the state of the own upgrade and stores it. Both values are passed to the
// platform unchanged. A new state rewrites the data model. kOk.
int updateFWUpgradeStatus(int32_t value1, int32_t value2);
