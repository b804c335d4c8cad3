// Requests for something that this device does itself, answered at once. slot_layout.h has their
// arguments.
//
// Unless stated otherwise they return kOk, even if the client gets a failure code. answer is the
// service number that the answer names.
#pragma once

#include <cstdint>

class ServReq;

// Sets the power state of an own interface.
int respSetIntfPwrStateServReq(const ServReq& request, uint16_t answer);
// Forwarding rules. A new one with the identifier 0 gets an unused one. kFailure is answered if a
// new rule has the identifier of another one, if there is none to modify or remove, if a rule has
// more addresses than an answer holds, or if the table is full.
int respAddFwdRuleServReq(const ServReq& request, uint16_t answer);
int respMdfyFwdRuleServReq(const ServReq& request, uint16_t answer);
int respRmFwdRuleServReq(const ServReq& request, uint16_t answer);
// Sets the maximum number of change-log entries, which must not be 0.
int respSetTopolLogMaxServReq(const ServReq& request, uint16_t answer);
// Always answered with kFailure: the platform cannot set the security of the network.
int respSetSecServReq(const ServReq& request, uint16_t answer);
// Sets an option, which permits or forbids orders of other devices.
int respSetConfServReq(const ServReq& request, uint16_t answer);

// These hand their arguments to the platform and answer with its result.
int handleWPSSetConfigReq(const ServReq& request, uint16_t answer);
int handleWPSSendRenewReq(const ServReq& request, uint16_t answer);
int handleWPSSetConfigChangetimeoutReq(const ServReq& request, uint16_t answer);
int handleWPSSetApproveflagReq(const ServReq& request, uint16_t answer);
int handleWPSSendSearchReq(const ServReq& request, uint16_t answer);
int handleWPSWifiReloadReq(const ServReq& request, uint16_t answer);
int handleWPSSetConfigByBandReq(const ServReq& request, uint16_t answer);
int handleFWStateReq(const ServReq& request, uint16_t answer);

// Does nothing and does not answer.
int handleWPSGetConfigReq(const ServReq& request, uint16_t answer);
// Always answered with kFailure.
int handleWIFIStateActionReq(const ServReq& request, uint16_t answer);
// Starts the Wi-Fi synchronization of all bands and answers with the first failure.
int handleSendWIFISyncAllReq(const ServReq& request, uint16_t answer);

// These always answer success. They return the result of the action.
int handlesetFWresultServReq(const ServReq& request, uint16_t answer);
int handlesetPBEServReq(const ServReq& request, uint16_t answer);
// Opens the ports anew.
int handlesetSocketReinitServReq(const ServReq& request, uint16_t answer);
// Writes the change log to its file.
int handleprintfvm1905logServReq(const ServReq& request, uint16_t answer);
// Sets the debug level; 6 prints the tables instead.
int handleSetDebugLevelReq(const ServReq& request, uint16_t answer);
