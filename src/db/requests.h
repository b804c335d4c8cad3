// Requests upward: what a low module may ask of a higher one, through functions that the higher
// modules install at start-up. A request for which nothing is installed does nothing.
#pragma once

#include "base/mac_addr.h"

struct RequestHandlers {
    int (*writeJsonDataModel)() = nullptr;
    int (*requestSendTopolNtfMsg)() = nullptr;
    int (*sendTopolQuery)(const MacAddr& alMac) = nullptr;
    int (*reinitIntfPorts)() = nullptr;
    int (*setMessageTransmitterCheckFlag)(const MacAddr& alMac, const char* flagName,
                                          int flag) = nullptr;
};

// The handlers in force; set its members to install them.
RequestHandlers& requestHandlers();

// Asks for a rewrite of the data-model file; a burst of requests gives one rewrite, 2 seconds
// after its first. flag 1 also asks for a topology notification. kOk.
int requestUpdateDataModel(int flag);

// Performs the rewrite when it is due. Called on every pass of the main loop. kOk.
int checkDataModelStatus();

// Rewrites the data-model file at once. kOk.
int requestWriteDataModel();

// Closes and reopens all ports. The result of doing so, kOk when there are none.
int requestReinitPorts();

// Unicasts a topology query to a neighbour device; the result of the send.
int requestTopolQuery(const MacAddr& alMac);

// Asks for one topology notification. kOk.
int requestTopolNotification();

// Tells the controller that a device was learnt (flag 0) or answered (flag 1); flagName is
// "flag_deviceinfo" or "flag_powerstate". kOk or kFailure.
int requestCheckFlag(const MacAddr& alMac, const char* flagName, int flag);
