// Stations and where they are: steering, beacon reports, transitions, blacklist. Each returns kOk
// or kFailure.
#pragma once

#include "handlers/vend_context.h"

int handleAPSteeringReqMsg(const VendContext& context, const OptionPayload& request);
int handleAPSteeringRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleSendBcnRptReqMsg(const VendContext& context, const BcnRptReqPayload& request);
int handleGetBcnRptReqMsg(const VendContext& context, const BcnRptReqPayload& request);
int handleGetBcnRptRespMsg(const VendContext& context, const BcnRptResp& answer);
int handleBTMReqMsg(const VendContext& context, const BtmReqPayload& request);
int handleBTMRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleBlacklistReqMsg(const VendContext& context, const BlacklistReq& request);
int handleBlacklistRespMsg(const VendContext& context, const BlacklistResp& answer);
