// The orders that wait for their answers: reboot, reset to default, LED, system and network
// control, and the request for a log file, which may take the other device a while to make. Whoever
// first sends an order enters it here with flag 1; the handler of its answer clears it; the
// controller loop repeats the rest, each list with its own period and up to its own limit
// (orders/schedule.h).
//
// Unless told otherwise: kOk, or kFailure for a missing address or a full list.
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

// flag 1 enters an order that was sent under the identifier msgId (0 when no client waits for the
// answer). flag 0 ends the order to the device and answers its client with the result; without such
// an order it leaves an entry that is never repeated.
int setRebootCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result = 0);
int setResetToDefaultCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result = 0);

// Enter an order with its value (flag 1) for the device, or for every device of the topology table
// when the address is all zero. A device has one entry: the newest. msgId as above.
int setLEDCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId = 0);
int setSystemCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId = 0);
// NetworkOption and command text.
int setNetworkCtrlList(const MacAddr* almac, uint16_t option, std::string_view command, int flag);

// The same for the request of a log file.
int setLogFileList(const MacAddr* almac);

// The device has answered. LED and system control: the identifier under which the client of the
// order waits, 0 when none does. A network order is ended by the answer to its own option only.
uint16_t clearLEDCtrlList(const MacAddr& almac);
uint16_t clearSystemCtrlList(const MacAddr& almac);
void clearNetworkCtrlList(const MacAddr& almac, uint16_t option);
void clearLogFileList(const MacAddr& almac);

// One device of the above. Whether the list is at work stays as it is: set... starts it.
int addLEDCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId = 0);
int addSystemCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId = 0);
int addNetworkCtrlList(const MacAddr& almac, uint16_t option, std::string_view command, int flag);

// One pass over a list: repeats what was not answered. kOk.
int checkRebootCtrlList();
int checkResetToDefaultCtrlList();
int checkLEDCtrlList();
int checkSystemCtrlList();
int CheckNetworkCtrlList();
int checkLogFileList();
