// Wi-Fi: stations, synchronisation of state and channels, country code, AP auto-configuration.
// Each returns kOk or kFailure.
#pragma once

#include "handlers/vend_dispatch.h"

int handleWIFIStateQueryMsg(const VendContext& context);
int handleWIFIStateRespMsg(const VendContext& context);
int handleWIFIClientmcastMsg(const VendContext& context);
int handleWIFIStateSearchMsg(const VendContext& context);
int handleWIFIStateRenewMsg(const VendContext& context);
int handleWIFIStateAckMsg(const VendContext& context);
int handleWIFIChannelSearchMsg(const VendContext& context);
int handleWIFIChannelRenewMsg(const VendContext& context);
int handleWIFIChannelAckMsg(const VendContext& context);
int handleWIFICountryCodeCtrlReqMsg(const VendContext& context);
int handleWIFICountryCodeCtrlRespMsg(const VendContext& context);
int handleAPautoconfigAckMsg(const VendContext& context);
int handleWPSCrtlReqMsg(const VendContext& context);
int handleWPSCrtlRespMsg(const VendContext& context);
