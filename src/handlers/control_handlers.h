// Orders to the device as a whole: reboot, reset to default, LED, system, network; and their
// answers. Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_context.h"

int handleRebootReqMsg(const VendContext& context, const AlMacPayload& request);
int handleRebootRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleResetToDefaultReqMsg(const VendContext& context, const AlMacPayload& request);
int handleResetToDefaultRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleLEDCtrlReqMsg(const VendContext& context, const OptionPayload& request);
int handleLEDCtrlMCASTReqMsg(const VendContext& context, const OptionPayload& request);
int handleLEDCtrlRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleSystemCtrlReqMsg(const VendContext& context, const OptionPayload& request);
int handleSystemCtrlMCASTReqMsg(const VendContext& context, const OptionPayload& request);
int handleSystemCtrlRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleNetworkCtrlReqMsg(const VendContext& context, const NetworkCtrlReq& request);
int handleNetworkCtrlRespMsg(const VendContext& context, const NetworkCtrlResp& answer);
int handleUpdateExtenderconifgReqMsg(const VendContext& context, const TextPayload& request);
