// Calls upward: what a lower floor may ask of a higher one. daemon/main_loop.cpp installs the
// functions at start-up; until then each does nothing.
#pragma once

#include "base/mac_addr.h"
#include "base/result.h"

// The vendor queries whose answers the controller waits for.
enum class AwaitedAnswer { kConf, kIntfPwrState };

struct Upcalls {
    // Rewrites the data-model files at once. kOk.
    int (*writeJsonDataModel)() = [] { return int{kOk}; };
    // Asks for one topology notification. kOk.
    int (*requestSendTopolNtfMsg)() = [] { return int{kOk}; };
    // Unicasts a topology query to a neighbour device. The result of the send.
    int (*sendTopolQuery)(const MacAddr& alMac) = [](const MacAddr&) { return int{kOk}; };
    // Closes and reopens all ports. kOk or kFailure.
    int (*reinitIntfPorts)() = [] { return int{kOk}; };
    // A topology response has described the device. Before this returns, two forced passes of the
    // controller loop have sent the queries that are due, to this device and to others.
    void (*deviceDescribed)(const MacAddr& alMac) = [](const MacAddr&) {};
    // The device has answered a query of the controller.
    void (*deviceAnswered)(const MacAddr& alMac, AwaitedAnswer answer) = [](const MacAddr&,
                                                                            AwaitedAnswer) {};
    // Restarts this device. Returns only on failure: kFailure.
    int (*rebootSystem)() = [] { return int{kFailure}; };
};

// The functions in force; assign to it to install others.
Upcalls& upcalls();
