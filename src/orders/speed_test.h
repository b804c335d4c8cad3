// The speed test. The device that orders one, usually the Registrar, repeats its start or stop
// order to each device that has not acknowledged it. A device whose test runs sends a line of
// figures every second to the device that started it.
#pragma once

#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "wire/vend_payloads.h"

struct SpeedTestState {
    SpeedTestCtrlReq order;
    std::vector<MacAddr> silent;  // AL MACs of the devices that have not acknowledged it
    int repeats = 0;
    MacAddr client;       // the device that ordered a test of this one, all zero if none did
    Seconds started = 0;  // when the figures were first sent
};

// Notes that order was sent to target, or to every device of the topology table if target is all
// zero. Replaces an earlier order. kOk, or kFailure if there is no device to obey it or the
// platform refuses.
int noteSpeedTestOrder(const MacAddr& target, const SpeedTestCtrlReq& order);
// Notes that the device has acknowledged its order. kOk, or kFailure if the platform refuses.
int noteSpeedTestAck(const MacAddr& almac);
// Notes the device that ordered a test of this one.
void noteSpeedTestClient(const MacAddr& almac);

// Repeats the order to the devices that have not acknowledged it, and gives up on those that never
// do. kOk.
int checkSpeedTestCtrl();

// Sends a line of figures. kFailure if the platform has none, else the result of the send.
int sendSpeedTestData();

// The check of the schedule for the order: runs checkSpeedTestCtrl while the platform's flag says
// that an order waits. kOk.
int runSpeedTestCtrl();
// The check of the schedule for the figures: sends them while a test runs, and ends the test after
// the platform's time-out. kOk.
int paceSpeedTestData();
