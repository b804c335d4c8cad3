// Speed test, log file, security exchange. Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_context.h"

int handleSpeedTestStartStopMsg(const VendContext& context, const SpeedTestCtrlReq& request);
int handleSpeedTestDataMsg(const VendContext& context, const TextPayload& line);
int handleSpeedTestAckMsg(const VendContext& context, const OptionPayload& answer);
int handleRequestLogFileReqMsg(const VendContext& context, const AlMacPayload& request);
int handleResponseLogFileReqMsg(const VendContext& context, const LogFileResp& answer);
int handleAckLogFileReqMsg(const VendContext& context, const OptionPayload& answer);
int handleSecurityCtrlReqMsg(const VendContext& context, const SecurityCtrlMsg& request);
