// Firmware orders and the state of the upgrade. Each handler returns kOk or kFailure.
#pragma once

#include "db/records.h"
#include "handlers/vend_dispatch.h"

int handleFWCrtlReqMsg(const VendContext& context);
int handleFWCrtl2ReqMsg(const VendContext& context);
int handleFWCrtlRespMsg(const VendContext& context);
int handleFWStateChangeRequestMsg(const VendContext& context);
int handleFWStateChangeResponseMsg(const VendContext& context);

// Notes in the upgrade list that a device has told its firmware state and is not at work any more.
void noteRemoteFirmwareState(const Ieee1905DevTable& dev);
