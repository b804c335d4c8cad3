// The push button of Wi-Fi Simple Configuration: for two minutes, each access point of this device
// lets a station join without a key.
#pragma once

#include <cstdint>

#include "base/mac_addr.h"
#include "common/programs.h"

// The event of a mesh that a press of a button is.
struct PushButtonEvent {
    MacAddr alMac;  // of the device whose button was pressed
    uint16_t msgId = 0;
};

// Presses the buttons of all access points that hostapd runs. Sends the join notification of the
// first station that joins. An event that comes meanwhile takes the place of the former one. 0 if
// it was started.
int pressPushButtons(const PushButtonEvent& event);
void dropPushButtons();

// The work of the program "push button": presses them and waits until a station joins, the time is
// over or standard input ends. Prints "INTERFACE STATION" if one has joined.
int runPushButtons(const Arguments& args);
