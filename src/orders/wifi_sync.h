// The settings that a Registrar sends to its Enrollees. The Wi-Fi state and channels go to each one
// until it has acknowledged the text, and again after the text has changed or the device has
// restarted; the country code to each one that has another.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "base/clock.h"
#include "base/mac_addr.h"

enum WifiSyncKind : uint8_t { kWifiStateSync, kWifiChannelSync, kCountryCodeSync, kWifiSyncNum };

// What a device has got of the current text.
struct WifiSyncStanding {
    uint16_t msgId = 0;  // of the last transmission
    int sent = 0;        // number of transmissions
    bool acknowledged = false;
    Seconds time = 0;  // of the last transmission
};

struct WifiSync {
    std::string text;
    std::map<MacAddr, WifiSyncStanding> devices;
};

struct WifiSyncState {
    std::array<WifiSync, kWifiSyncNum> syncs;
};

// Send the current text to the Enrollees that need it: every 30 seconds, and after five attempts
// once an hour. kOk, or kFailure if there is no text or this device is not the Registrar.
int checkWIFIStateSync();
int checkWIFIChannelSync();
int checkWIFICountryCodeSync();

// Notes that text was sent under msgId to the device, or to every Enrollee of the topology table if
// the address is all zero.
void noteWifiSyncSent(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId,
                      std::string_view text);
// Notes whether the device has taken over the text of the message msgId. False if its answer must
// be ignored: a late failure after a success.
bool noteWifiSyncAck(WifiSyncKind kind, const MacAddr& almac, uint16_t msgId, bool success);
// Notes that the device has restarted or was reset: it gets all texts again.
void forgetWifiSync(const MacAddr& almac);
