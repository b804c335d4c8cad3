// The speed test. A Registrar (or whoever orders one) repeats its start or stop order to each
// device that has not acknowledged it; a device whose test runs sends a line of figures every
// second to whoever started it.
#pragma once

#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "wire/vend_payloads.h"

struct SpeedTestState {
    SpeedTestCtrlReq order;
    std::vector<MacAddr> silent;  // have not acknowledged it
    int repeats = 0;
    MacAddr client;       // who ordered the test of this device, all zero at first
    Seconds started = 0;  // when its figures were first sent
};

// An order went out to the device, to every device of the topology table when the address is all
// zero. It takes the place of an earlier one. kOk, or kFailure when nobody is there to obey.
int noteSpeedTestOrder(const MacAddr& target, const SpeedTestCtrlReq& order);
// The device has acknowledged its order. kOk.
int noteSpeedTestAck(const MacAddr& almac);
// The device ordered a test of this one.
void noteSpeedTestClient(const MacAddr& almac);

// Repeats the order to the devices that are silent; those that stay so are given up. kOk.
int checkSpeedTestCtrl();

// Sends a line of figures, when the platform has one. kOk, or kFailure without one, or as the send.
int sendSpeedTestData();

// The two checks of the schedule: the order, while the platform says that it waits; the figures,
// while a test runs, which ends with its time. kOk.
int runSpeedTestCtrl();
int paceSpeedTestData();
