// Orders to the device as a whole: reboot, reset to default, LED, system, network; and their
// answers. Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_dispatch.h"

int handleRebootReqMsg(const VendContext& context);
int handleRebootRespMsg(const VendContext& context);
int handleResetToDefaultReqMsg(const VendContext& context);
int handleResetToDefaultRespMsg(const VendContext& context);
int handleLEDCtrlReqMsg(const VendContext& context);
int handleLEDCtrlMCASTReqMsg(const VendContext& context);
int handleLEDCtrlRespMsg(const VendContext& context);
int handleSystemCtrlReqMsg(const VendContext& context);
int handleSystemCtrlMCASTReqMsg(const VendContext& context);
int handleSystemCtrlRespMsg(const VendContext& context);
int handleNetworkCtrlReqMsg(const VendContext& context);
int handleNetworkCtrlRespMsg(const VendContext& context);
int handleUpdateExtenderconifgReqMsg(const VendContext& context);
