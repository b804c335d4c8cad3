// The Wi-Fi state and the Wi-Fi channels that a Registrar hands to its Enrollees: sent to each
// until it has acknowledged the text, and again when the text changes.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "base/mac_addr.h"

enum WifiSyncKind : uint8_t { kWifiStateSync, kWifiChannelSync, kWifiSyncNum };

// How a device stands to the present text.
struct WifiSyncStanding {
    uint16_t msgId = 0;  // of the last sending
    int sent = 0;
    bool acknowledged = false;
};

struct WifiSync {
    std::string text;
    std::map<MacAddr, WifiSyncStanding> devices;
};

struct WifiSyncState {
    std::array<WifiSync, kWifiSyncNum> syncs;
};

// A pass of the Registrar over its Enrollees. kOk, or kFailure when there is nothing to hand out or
// this device is no Registrar.
int checkWIFIStateSync();
int checkWIFIChannelSync();

// This text was sent to the device under the identifier msgId, to every Enrollee of the topology
// table when the address is all zero.
void noteWifiSyncSent(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId,
                      std::string_view text);
// The device answered it with this result text.
void noteWifiSyncAck(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId,
                     std::string_view result);
