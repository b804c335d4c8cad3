// Configuration queries and responses: what devices tell about themselves. Each returns kOk or
// kFailure.
#pragma once

#include "handlers/vend_dispatch.h"

int handleConfQueryMsg(const VendContext& context);
int handleConfRespMsg(const VendContext& context);
int handleConfQueryMsg2(const VendContext& context);
int handleConfRespMsg2(const VendContext& context);
