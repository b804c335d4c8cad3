// Interfaces: power states, power control, names. Each returns kOk or kFailure.
#pragma once

#include "vendor/vend_handlers.h"

int handleIntfPwrStateQueryMsg(const VendContext& context);
int handleIntfPwrStateRespMsg(const VendContext& context);
int handleIntfPwrCrtlReqMsg(const VendContext& context);
int handleIntfPwrCrtlRespMsg(const VendContext& context);
int handleIntfNameRespMsg(const VendContext& context);
