// Firmware orders and the state of the upgrade. Each handler returns kOk or kFailure.
#pragma once

#include "db/records.h"
#include "handlers/vend_context.h"

int handleFWCrtlReqMsg(const VendContext& context, const FwCtrlReq& request);
int handleFWCrtl2ReqMsg(const VendContext& context, const FwCtrl2Req& request);
int handleFWCrtlRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleFWStateChangeRequestMsg(const VendContext& context, const AlMacPayload& request);
int handleFWStateChangeResponseMsg(const VendContext& context, const OptionPayload& answer);

// Notes in the upgrade list that a device has told its firmware state and is not at work any more.
void noteRemoteFirmwareState(const Ieee1905DevTable& dev);
