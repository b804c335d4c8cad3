// Configuration queries and responses: what devices tell about themselves. Each returns kOk or
// kFailure.
#pragma once

#include "handlers/vend_context.h"

int handleConfQueryMsg(const VendContext& context, const AlMacPayload& query);
int handleConfRespMsg(const VendContext& context, const ConfResp& answer);
int handleConfQueryMsg2(const VendContext& context, const AlMacPayload& query);
int handleConfRespMsg2(const VendContext& context, const ConfResp& answer);
