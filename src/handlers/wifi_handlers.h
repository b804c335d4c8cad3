// Wi-Fi: stations, synchronization of state and channels, country code, AP auto-configuration.
// Each function returns kOk, or kFailure if it refuses the message, the platform does, or an answer
// cannot be sent.
#pragma once

#include "handlers/vend_context.h"

// Answers with the stations of this device.
int handleWIFIStateQueryMsg(const VendContext& context, const AlMacPayload& query);
// Both store the stations in the record of the sender, if it has one.
int handleWIFIStateRespMsg(const VendContext& context, const WifiStateResp& answer);
int handleWIFIClientmcastMsg(const VendContext& context, const TextPayload& report);

// A search: answers an approved device with the text for all Enrollees. Only the Registrar sends
// the state. kOk if the sender is not approved.
int handleWIFIStateSearchMsg(const VendContext& context, const AlMacPayload& search);
int handleWIFIChannelSearchMsg(const VendContext& context, const AlMacPayload& search);
// A renew: an Enrollee hands the text to the platform and answers "success" or "fail".
int handleWIFIStateRenewMsg(const VendContext& context, const TextPayload& renew);
int handleWIFIChannelRenewMsg(const VendContext& context, const TextPayload& renew);
// The answer to a renew: notes the result, hands it to the platform and writes it to a file below
// /tmp/vm1905.
int handleWIFIStateAckMsg(const VendContext& context, const TextPayload& answer);
int handleWIFIChannelAckMsg(const VendContext& context, const TextPayload& answer);

// Hands the country code to the platform and answers with its result.
int handleWIFICountryCodeCtrlReqMsg(const VendContext& context, const CountryCodeReq& request);
// Logs and notes the result. kOk.
int handleWIFICountryCodeCtrlRespMsg(const VendContext& context, const RetCodePayload& answer);
// Notes that the sender has taken over the configuration of a band (answer.option).
int handleAPautoconfigAckMsg(const VendContext& context, const OptionPayload& answer);
// Changes the WPS configuration by the bits of the option and answers with the result.
int handleWPSCrtlReqMsg(const VendContext& context, const OptionPayload& request);
// Hands the result to the client that waits for it.
int handleWPSCrtlRespMsg(const VendContext& context, const RetCodePayload& answer);
