// Answers of other devices for the local clients that wait for them.
#pragma once

#include <cstdint>

#include "orders/service_ids.h"

struct BcnRptResp;
struct BlacklistResp;
struct IntfPwrCtrlResp;

// Writes the result of an order for the client that waits for it. msgId is the identifier of the
// device's answer, under which the client is found. An order that was repeated has had other
// identifiers: firstMsgId is the one that its client knows, 0 for none. kOk, also when nobody
// waits.
int answerClient(ServId order, uint16_t msgId, uint8_t result, uint16_t firstMsgId = 0);

// The same for each order; result is the code that the device answered.
inline int respNbrRebootServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServReboot, msgId, result);
}
inline int respWPSCrtlServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServWpsCtrl, msgId, result);
}
inline int respAPSteeringServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServAPSteering, msgId, result);
}
inline int respFWCrtlServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServFWCtrl, msgId, result);
}
inline int respNbrResetToDefaultServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServResetToDefault, msgId, result);
}
inline int respSendCommandServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServSendCommand, msgId, result);
}
inline int respNbrLEDCtrlServReq(uint16_t msgId, uint8_t result, uint16_t firstMsgId) {
    return answerClient(kServLEDCtrl, msgId, result, firstMsgId);
}
inline int respNbrSystemCtrlServReq(uint16_t msgId, uint8_t result, uint16_t firstMsgId) {
    return answerClient(kServSystemCtrl, msgId, result, firstMsgId);
}
inline int respSendBcnRptServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServSendBcnRpt, msgId, result);
}
inline int respBTMServReq(uint16_t msgId, uint8_t result) {
    return answerClient(kServSendBTM, msgId, result);
}
// Adding a station or removing one, as answer.option tells.
int respBlacklistServReq(uint16_t msgId, const BlacklistResp& answer);

// Answers that carry more than a result.
int respNbrIntfPwrCtrlServReq(uint16_t msgId, const IntfPwrCtrlResp& answer);
int respGetBcnRptServReq(uint16_t msgId, const BcnRptResp& answer);
