// Answers of other devices for the local clients that asked for them. msgId is the identifier of
// the device's message, under which the client is found; when nobody waits for it, nothing is
// written. kOk.
#pragma once

#include <cstdint>

struct BcnRptResp;
struct BlacklistResp;
struct IntfPwrCtrlResp;

// result is the code that the device answered.
int respNbrRebootServReq(uint16_t msgId, uint8_t result);
int respWPSCrtlServReq(uint16_t msgId, uint8_t result);
int respAPSteeringServReq(uint16_t msgId, uint8_t result);
int respFWCrtlServReq(uint16_t msgId, uint8_t result);
int respNbrResetToDefaultServReq(uint16_t msgId, uint8_t result);
int respSendCommandServReq(uint16_t msgId, uint8_t result);
// An order that was repeated has had other identifiers; firstMsgId is the one that its client
// knows, 0 when none waits.
int respNbrLEDCtrlServReq(uint16_t msgId, uint8_t result, uint16_t firstMsgId);
int respNbrSystemCtrlServReq(uint16_t msgId, uint8_t result, uint16_t firstMsgId);
int respSendBcnRptServReq(uint16_t msgId, uint8_t result);
int respBTMServReq(uint16_t msgId, uint8_t result);

int respNbrIntfPwrCtrlServReq(uint16_t msgId, const IntfPwrCtrlResp& answer);
int respGetBcnRptServReq(uint16_t msgId, const BcnRptResp& answer);
// The answer to adding a station or to removing one, as answer.option tells.
int respBlacklistServReq(uint16_t msgId, const BlacklistResp& answer);
