// Requests for something that other devices shall do. Where their arguments stand is told by
// slot_layout.h.
#pragma once

#include <cstdint>

class ServReq;

// Orders that the device answers: the client waits for that answer (service/answer_writers.h).
// kOk, also when the client is told that there is no such device; kFailure, and no answer, when the
// order cannot be sent.
int handleRebootNbrServReq(const ServReq& request, uint16_t answer);
int handleCtrlNbrIntfPwrServReq(const ServReq& request, uint16_t answer);
int handleWPSSETCONFNBRServReq(const ServReq& request, uint16_t answer);
int handleAPSteeringServReq(const ServReq& request, uint16_t answer);
int handleFWCTRLNBRServReq(const ServReq& request, uint16_t answer);
int handleresetToDefaultServReq(const ServReq& request, uint16_t answer);
int handleSendCommandServReq(const ServReq& request, uint16_t answer);
int handleSendBcnRptServReq(const ServReq& request, uint16_t answer);
int handleGetBcnRptServReq(const ServReq& request, uint16_t answer);
int handleSendBTMServReq(const ServReq& request, uint16_t answer);
int handleBlacklistServReq(const ServReq& request, uint16_t answer);
// With the all-zero address for all devices, then without an answer.
int handleLEDCtrlServReq(const ServReq& request, uint16_t answer);
int handleSystemCtrlReq(const ServReq& request, uint16_t answer);

// Messages to one device or, with the all-zero address, to all. The client is told at once whether
// they were sent. kOk.
int handleSpeedTestReq(const ServReq& request, uint16_t answer);
int handleWIFIStateSearchReq(const ServReq& request, uint16_t answer);
int handleWIFIStateRenewReq(const ServReq& request, uint16_t answer);
int handleRequestLogFileReq(const ServReq& request, uint16_t answer);
int handleNetworkCtrlReq(const ServReq& request, uint16_t answer);
// To all neighbours.
int handleSendDiscoveryReq(const ServReq& request, uint16_t answer);
// Multicasts the configuration that the platform has for the extenders; without one the extenders
// look at their own again. kOk or kFailure.
int sendUpdateConifgCtrlToExtender();
// The client is told success before anything is sent; the result of the send.
int handleUpdateExtenderConifgReq(const ServReq& request, uint16_t answer);
