// The orders that wait for an answer: reboot, reset to default, LED, system and network control,
// and the request for a log file, which the other device may take a while to make.
//
// The sender of an order enters it here with flag 1, and the handler of its answer clears it. The
// controller loop repeats the others, each list with its own period and repetition limit
// (orders/schedule.h).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "base/mac_addr.h"
#include "orders/retry_list.h"

struct NoValue {};

struct NetworkOrder {
    uint16_t option = 0;
    std::string command;
};

struct ControlLists {
    RetryList<NoValue> reboot;
    RetryList<NoValue> resetToDefault;
    RetryList<int32_t> led;
    RetryList<int32_t> system;
    RetryList<NetworkOrder> network;
    RetryList<NoValue> logFile;
};

// Enter an order to the device (flag 1), or end all of them (flag 0) and answer their clients with
// result.
//
// msgId is the identifier under which the order was sent, 0 if no client waits for the answer. Flag
// 0 for a device without an order leaves an entry that is never repeated. kOk, or kFailure if
// almac is nullptr or the list is full.
int setRebootCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result = 0);
int setResetToDefaultCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result = 0);

// True if the list of resets has an entry of the device.
bool isResetOrdered(const MacAddr& almac);

// Enter an order (flag 1) with its value and start its list. The all-zero address means every
// device of the topology table. A device has one entry, that of its newest order. msgId and the
// result are as above.
int setLEDCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId = 0);
int setSystemCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId = 0);
// The value is a network option and the text of a command.
int setNetworkCtrlList(const MacAddr* almac, uint16_t option, std::string_view command, int flag);
// A request for the log file has no value.
int setLogFileList(const MacAddr* almac);

// End the order to a device that has answered. Return the identifier under which the client of the
// order waits, 0 if none does.
uint16_t clearLEDCtrlList(const MacAddr& almac);
uint16_t clearSystemCtrlList(const MacAddr& almac);
// Only the answer to the entered option ends a network order.
void clearNetworkCtrlList(const MacAddr& almac, uint16_t option);
void clearLogFileList(const MacAddr& almac);

// As set...List for one device, but without starting the list. kOk, or kFailure if the list is
// full.
int addLEDCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId = 0);
int addSystemCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId = 0);
int addNetworkCtrlList(const MacAddr& almac, uint16_t option, std::string_view command, int flag);

// One pass over a list: send the orders again that were not answered. kOk.
int checkRebootCtrlList();
int checkResetToDefaultCtrlList();
int checkLEDCtrlList();
int checkSystemCtrlList();
int CheckNetworkCtrlList();
int checkLogFileList();
