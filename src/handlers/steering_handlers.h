// Stations: steering, beacon reports, BSS transitions, blacklist.
//
// A request is handed to the platform and answered with its result; the answer goes to the client
// that waits for it. Each function returns kOk, or kFailure if it cannot answer or a remote command
// fails.
#pragma once

#include "handlers/vend_context.h"

int handleAPSteeringReqMsg(const VendContext& context, const OptionPayload& request);
int handleAPSteeringRespMsg(const VendContext& context, const RetCodePayload& answer);
// Asks a station for a beacon report.
int handleSendBcnRptReqMsg(const VendContext& context, const BcnRptReqPayload& request);
// Fetches the last beacon report of a station.
int handleGetBcnRptReqMsg(const VendContext& context, const BcnRptReqPayload& request);
// The answer to either of the two.
int handleGetBcnRptRespMsg(const VendContext& context, const BcnRptResp& answer);
// Sends a BSS transition request to a station.
int handleBTMReqMsg(const VendContext& context, const BtmReqPayload& request);
int handleBTMRespMsg(const VendContext& context, const RetCodePayload& answer);
// Adds a station to the blacklist or removes it.
int handleBlacklistReqMsg(const VendContext& context, const BlacklistReq& request);
int handleBlacklistRespMsg(const VendContext& context, const BlacklistResp& answer);
