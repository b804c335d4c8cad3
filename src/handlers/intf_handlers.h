// Interfaces: power states, power control, names. Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_dispatch.h"

int handleIntfPwrStateQueryMsg(const VendContext& context);
int handleIntfPwrStateRespMsg(const VendContext& context);
int handleIntfPwrCrtlReqMsg(const VendContext& context);
int handleIntfPwrCrtlRespMsg(const VendContext& context);
int handleIntfNameRespMsg(const VendContext& context);
