// Orders to the whole device: reboot, reset to default, LED, system, network; and their answers.
// Each function returns kOk, or kFailure if the order is refused, fails, or cannot be answered.
#pragma once

#include "handlers/vend_context.h"

// Reboot and reset to default: answered before the device goes down, and not obeyed if the answer
// cannot be sent. An order to another AL MAC is answered with kNotAddressed.
int handleRebootReqMsg(const VendContext& context, const AlMacPayload& request);
int handleResetToDefaultReqMsg(const VendContext& context, const AlMacPayload& request);
// Their answers end the repetition of the order and go to the client that waits for them. kFailure
// if the sender has no record.
int handleRebootRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleResetToDefaultRespMsg(const VendContext& context, const RetCodePayload& answer);

// LED and system: hand the option to the platform and answer with its result. An MCAST order was
// sent to all devices.
int handleLEDCtrlReqMsg(const VendContext& context, const OptionPayload& request);
int handleLEDCtrlMCASTReqMsg(const VendContext& context, const OptionPayload& request);
int handleSystemCtrlReqMsg(const VendContext& context, const OptionPayload& request);
int handleSystemCtrlMCASTReqMsg(const VendContext& context, const OptionPayload& request);
// Their answers, as above.
int handleLEDCtrlRespMsg(const VendContext& context, const RetCodePayload& answer);
int handleSystemCtrlRespMsg(const VendContext& context, const RetCodePayload& answer);

// Hands the network option and its command to the platform and answers with its result.
int handleNetworkCtrlReqMsg(const VendContext& context, const NetworkCtrlReq& request);
// Ends the repetition of the order and writes the result to a file below /tmp/vm1905. No client
// waits for this answer.
int handleNetworkCtrlRespMsg(const VendContext& context, const NetworkCtrlResp& answer);

// Hands the text, if there is one, to the platform, and reads the WPS configuration again. Not
// answered.
int handleUpdateExtenderconifgReqMsg(const VendContext& context, const TextPayload& request);
