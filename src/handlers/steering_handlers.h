// Stations and where they are: steering, beacon reports, transitions, blacklist. Each returns kOk
// or kFailure.
#pragma once

#include "handlers/vend_dispatch.h"

int handleAPSteeringReqMsg(const VendContext& context);
int handleAPSteeringRespMsg(const VendContext& context);
int handleSendBcnRptReqMsg(const VendContext& context);
int handleGetBcnRptReqMsg(const VendContext& context);
int handleGetBcnRptRespMsg(const VendContext& context);
int handleBTMReqMsg(const VendContext& context);
int handleBTMRespMsg(const VendContext& context);
int handleBlacklistReqMsg(const VendContext& context);
int handleBlacklistRespMsg(const VendContext& context);
