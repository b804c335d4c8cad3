// Speed test, log file, security exchange. Each function returns kOk, or kFailure if the platform
// refuses or an answer cannot be sent.
#pragma once

#include "handlers/vend_context.h"

// Starts or stops a speed test of this device, and acknowledges the order with the platform's
// result.
int handleSpeedTestStartStopMsg(const VendContext& context, const SpeedTestCtrlReq& request);
// Hands a line of figures of another device to the platform.
int handleSpeedTestDataMsg(const VendContext& context, const TextPayload& line);
// Ends the repetition of the order to the sender.
int handleSpeedTestAckMsg(const VendContext& context, const OptionPayload& answer);

// Answers with the name of this device's log file and the URL from which it can be fetched.
int handleRequestLogFileReqMsg(const VendContext& context, const AlMacPayload& request);
// Has the platform download the log file of the sender, and acknowledges with its result.
int handleResponseLogFileReqMsg(const VendContext& context, const LogFileResp& file);
// Hands the result of the download to the platform.
int handleAckLogFileReqMsg(const VendContext& context, const OptionPayload& answer);

// Hands an M1 or M2 of the security exchange to the platform; other messages are ignored.
int handleSecurityCtrlReqMsg(const VendContext& context, const SecurityCtrlMsg& inner);
