// Interfaces: power states, power control, names. Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_context.h"

int handleIntfPwrStateQueryMsg(const VendContext& context, const AlMacPayload& query);
int handleIntfPwrStateRespMsg(const VendContext& context, const IntfPwrStateResp& answer);
int handleIntfPwrCrtlReqMsg(const VendContext& context, const IntfPwrCtrlReq& request);
int handleIntfPwrCrtlRespMsg(const VendContext& context, const IntfPwrCtrlResp& answer);
int handleIntfNameRespMsg(const VendContext& context, const IntfNameResp& answer);
