// Configuration queries and responses: what devices say about themselves. docs/vendor-protocol.md
// describes the messages. Each function returns kOk, or kFailure if an answer cannot be sent.
#pragma once

#include "handlers/vend_context.h"

// Answers with the configuration items of this device.
int handleConfQueryMsg(const VendContext& context, const AlMacPayload& query);
// Stores the items in the record of the sender, and asks it for its Wi-Fi state. A sender without a
// record is ignored.
int handleConfRespMsg(const VendContext& context, const ConfResp& answer);
// The same for the second form, which carries the IPv6 addresses.
int handleConfQueryMsg2(const VendContext& context, const AlMacPayload& query);
int handleConfRespMsg2(const VendContext& context, const ConfResp& answer);
