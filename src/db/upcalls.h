// Calls from a lower floor to a higher one. daemon/main_loop.cpp installs the functions at
// start-up; until then they do nothing.
#pragma once

#include "base/mac_addr.h"
#include "base/result.h"

// The vendor queries whose answers the controller waits for.
enum class AwaitedAnswer { kConf, kIntfPwrState };

struct Upcalls {
    // Rewrites the data-model files at once. kOk.
    int (*writeJsonDataModel)() = [] { return int{kOk}; };
    // Requests a topology notification. kOk.
    int (*requestSendTopolNtfMsg)() = [] { return int{kOk}; };
    // Sends a topology query to a neighbor device. The result of the send.
    int (*sendTopolQuery)(const MacAddr& alMac) = [](const MacAddr&) { return int{kOk}; };
    // Closes and reopens all ports. kOk or kFailure.
    int (*reinitIntfPorts)() = [] { return int{kOk}; };
    // Reports that a topology response has described the device. Before this returns, two forced
    // passes of the controller loop have sent the queries that are due, to all devices.
    void (*deviceDescribed)(const MacAddr& alMac) = [](const MacAddr&) {};
    // Reports that the device has answered a query of the controller.
    void (*deviceAnswered)(const MacAddr& alMac, AwaitedAnswer answer) = [](const MacAddr&,
                                                                            AwaitedAnswer) {};
    // Restarts this device. Returns kFailure if that fails, else not at all.
    int (*rebootSystem)() = [] { return int{kFailure}; };
};

// The installed functions; assign to them to install others.
Upcalls& upcalls();
