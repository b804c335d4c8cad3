// Speed test, log file, security exchange. Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_dispatch.h"

int handleSpeedTestStartStopMsg(const VendContext& context);
int handleSpeedTestDataMsg(const VendContext& context);
int handleSpeedTestAckMsg(const VendContext& context);
int handleRequestLogFileReqMsg(const VendContext& context);
int handleResponseLogFileReqMsg(const VendContext& context);
int handleAckLogFileReqMsg(const VendContext& context);
int handleSecurityCtrlReqMsg(const VendContext& context);
