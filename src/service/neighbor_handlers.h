// Requests for something that other devices shall do. slot_layout.h has their arguments.
#pragma once

#include <cstdint>

class ServReq;

// Orders to one device, which answers them: the client waits for that answer
// (orders/answer_writers.h). A client that names an unknown device is told so at once. kOk, or
// kFailure without an answer if the order cannot be sent.
int handlePingServReq(const ServReq& request, uint16_t answer);
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
// These two also take the all-zero address, which means all devices and gives no answer.
int handleLEDCtrlServReq(const ServReq& request, uint16_t answer);
int handleSystemCtrlReq(const ServReq& request, uint16_t answer);

// Messages to one device, or to all with the all-zero address. The client is told at once whether
// they could be sent. kOk.
int handleSpeedTestReq(const ServReq& request, uint16_t answer);
int handleWIFIStateSearchReq(const ServReq& request, uint16_t answer);
int handleWIFIStateRenewReq(const ServReq& request, uint16_t answer);
int handleRequestLogFileReq(const ServReq& request, uint16_t answer);
int handleNetworkCtrlReq(const ServReq& request, uint16_t answer);

// Multicasts a topology discovery and a vendor discovery. The client always gets success; returns
// the first failure.
int handleSendDiscoveryReq(const ServReq& request, uint16_t answer);
// Multicasts the configuration that the platform has for the extenders. If it has none, the empty
// text makes them read their own configuration again. kOk, or kFailure if it cannot be sent.
int sendUpdateConifgCtrlToExtender();
// Answers success, then does the same. Returns its result.
int handleUpdateExtenderConifgReq(const ServReq& request, uint16_t answer);
