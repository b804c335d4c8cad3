// The speed test. The device that orders one, usually the Registrar, repeats its start or stop
// order to each device that has not acknowledged it. A device whose test runs sends a line of
// figures every second to the device that started it.
#pragma once

#include <cstdint>
#include <map>
#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "wire/vend_payloads.h"

// An order that its device has not acknowledged.
struct SpeedTestOrder {
    SpeedTestCtrlReq order;
    std::vector<uint16_t> msgIds;  // under which it was sent
};

struct SpeedTestState {
    std::map<MacAddr, SpeedTestOrder> orders;  // by AL MAC
    MacAddr client;       // the device that ordered a test of this one, all zero if none did
    Seconds started = 0;  // when the figures were first sent
};

// Notes that order was sent under msgId to target, or to every device of the topology table if
// target is all zero. Replaces an earlier order to the same device: a stop ends the repetition of a
// start. kOk, or kFailure if there is no device to obey it or the platform refuses.
int noteSpeedTestOrder(const MacAddr& target, uint16_t msgId, const SpeedTestCtrlReq& order);
// Notes that the device has acknowledged the message msgId; ignored unless that was its order. kOk,
// or kFailure if the platform refuses.
int noteSpeedTestAck(const MacAddr& almac, uint16_t msgId);
// Notes the device that ordered a test of this one.
void noteSpeedTestClient(const MacAddr& almac);

// Repeats the orders that were not acknowledged, and gives up on those that never are. kOk.
int checkSpeedTestCtrl();

// Sends a line of figures. kFailure if the platform has none, else the result of the send.
int sendSpeedTestData();

// The check of the schedule for the order: runs checkSpeedTestCtrl while the platform's flag says
// that an order waits. kOk.
int runSpeedTestCtrl();
// The check of the schedule for the figures: sends them while a test runs, and ends the test after
// the platform's time-out. kOk.
int paceSpeedTestData();
