// Interfaces: power states, power control, names. Each function returns kOk, or kFailure if an
// answer cannot be sent or a remote command fails.
#pragma once

#include "handlers/vend_context.h"

// Answers with the power states of the own interfaces, then sends their names.
int handleIntfPwrStateQueryMsg(const VendContext& context, const AlMacPayload& query);
// Stores the power states in the record of the sender, if it has one.
int handleIntfPwrStateRespMsg(const VendContext& context, const IntfPwrStateResp& answer);
// Changes the power states of own interfaces and answers with one result per entry. The all-zero
// MAC means all interfaces of the media type and ends the list.
int handleIntfPwrCrtlReqMsg(const VendContext& context, const IntfPwrCtrlReq& request);
// Hands the results to the client that waits for them.
int handleIntfPwrCrtlRespMsg(const VendContext& context, const IntfPwrCtrlResp& answer);
// Stores the interface names in the record of the sender, if it has one.
int handleIntfNameRespMsg(const VendContext& context, const IntfNameResp& answer);
