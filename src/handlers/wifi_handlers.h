// Wi-Fi: stations, synchronisation of state and channels, country code, AP auto-configuration.
// Each returns kOk or kFailure.
#pragma once

#include <set>

#include "handlers/vend_context.h"

// The result files that other devices have left.
struct ResultFiles {
    std::set<MacAddr> senders;
};

int handleWIFIStateQueryMsg(const VendContext& context, const AlMacPayload& query);
int handleWIFIStateRespMsg(const VendContext& context, const WifiStateResp& answer);
int handleWIFIClientmcastMsg(const VendContext& context, const TextPayload& report);
int handleWIFIStateSearchMsg(const VendContext& context, const AlMacPayload& search);
int handleWIFIStateRenewMsg(const VendContext& context, const TextPayload& renew);
int handleWIFIStateAckMsg(const VendContext& context, const TextPayload& answer);
int handleWIFIChannelSearchMsg(const VendContext& context, const AlMacPayload& search);
int handleWIFIChannelRenewMsg(const VendContext& context, const TextPayload& renew);
int handleWIFIChannelAckMsg(const VendContext& context, const TextPayload& answer);
int handleWIFICountryCodeCtrlReqMsg(const VendContext& context, const CountryCodeReq& request);
int handleWIFICountryCodeCtrlRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleAPautoconfigAckMsg(const VendContext& context, const OptionPayload& answer);
int handleWPSCrtlReqMsg(const VendContext& context, const OptionPayload& request);
int handleWPSCrtlRespMsg(const VendContext& context, const RetCodePayload& answer);
