// Hands the answers of other devices to the local clients that wait for them.
//
// In all functions msgId is the message identifier of the device's answer, by which the client is
// found. kOk, also if nobody waits.
#pragma once

#include <cstdint>

#include "orders/service_ids.h"

struct BcnRptResp;
struct BlacklistResp;
struct IntfPwrCtrlResp;

// Writes the result code of an order into the response slot. An order that was repeated was sent
// under several identifiers: firstMsgId is the first, under which its client waits, 0 if there is
// none.
int answerClient(ServId order, uint16_t msgId, uint8_t result, uint16_t firstMsgId = 0);

// The same for one order each; result is the code that the device answered.
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
// answer.option says whether the station was added or removed.
int respBlacklistServReq(uint16_t msgId, const BlacklistResp& answer);

// These answers carry more than a result: the state of each interface, and the beacon report.
int respNbrIntfPwrCtrlServReq(uint16_t msgId, const IntfPwrCtrlResp& answer);
int respGetBcnRptServReq(uint16_t msgId, const BcnRptResp& answer);
