// Firmware orders and the state of the upgrade. Each handler returns kOk, or kFailure if it cannot
// answer.
#pragma once

#include "db/records.h"
#include "handlers/vend_context.h"

// Hand a firmware order of a known Registrar to the platform and answer with its result, an order
// of another device with kFailure; the second form carries its values as items. kFailure without an
// answer if this device is not an Enrollee, kFailure too if a remote command fails.
int handleFWCrtlReqMsg(const VendContext& context, const FwCtrlReq& request);
int handleFWCrtl2ReqMsg(const VendContext& context, const FwCtrl2Req& request);
// Hands the result to the client that waits for it.
int handleFWCrtlRespMsg(const VendContext& context, const RetCodePayload& answer);

// Answers with the firmware state of this device.
int handleFWStateChangeRequestMsg(const VendContext& context, const AlMacPayload& request);
// Stores the firmware state of the sender.
int handleFWStateChangeResponseMsg(const VendContext& context, const OptionPayload& answer);

// Resets the entry of the device in the upgrade list, unless its firmware state says that it is
// busy or upgrades.
void noteRemoteFirmwareState(const Ieee1905DevTable& dev);
