// Requests for something that this device does itself, answered at once. Where their arguments
// stand is told by slot_layout.h. Unless told otherwise: kOk, also when the client is told a
// failure code.
#pragma once

#include <cstdint>

class ServReq;

int respSetIntfPwrStateServReq(const ServReq& request, uint16_t answer);
// The database knows a forwarding rule by its identifier only: what would make or change one is
// answered with kFailure.
int respAddFwdRuleServReq(const ServReq& request, uint16_t answer);
int respMdfyFwdRuleServReq(const ServReq& request, uint16_t answer);
int respRmFwdRuleServReq(const ServReq& request, uint16_t answer);
int respSetTopolLogMaxServReq(const ServReq& request, uint16_t answer);
// Answered with kFailure: the platform has no way to set the security of the network.
int respSetSecServReq(const ServReq& request, uint16_t answer);
int respSetConfServReq(const ServReq& request, uint16_t answer);

int handleWPSSetConfigReq(const ServReq& request, uint16_t answer);
int handleWPSGetConfigReq(const ServReq& request, uint16_t answer);  // does nothing
int handleWPSSendRenewReq(const ServReq& request, uint16_t answer);
int handleWPSSetConfigChangetimeoutReq(const ServReq& request, uint16_t answer);
int handleWPSSetApproveflagReq(const ServReq& request, uint16_t answer);
int handleWPSSendSearchReq(const ServReq& request, uint16_t answer);
int handleWPSWifiReloadReq(const ServReq& request, uint16_t answer);
int handleWPSSetConfigByBandReq(const ServReq& request, uint16_t answer);
int handleFWStateReq(const ServReq& request, uint16_t answer);
int handleWIFIStateActionReq(const ServReq& request, uint16_t answer);  // answers kFailure
int handleSendWIFISyncAllReq(const ServReq& request, uint16_t answer);

// These answer success whatever comes of it; the result is that of what was done.
int handlesetFWresultServReq(const ServReq& request, uint16_t answer);
int handlesetPBEServReq(const ServReq& request, uint16_t answer);
int handlesetSocketReinitServReq(const ServReq& request, uint16_t answer);
int handleprintfvm1905logServReq(const ServReq& request, uint16_t answer);
int handleSetDebugLevelReq(const ServReq& request, uint16_t answer);
