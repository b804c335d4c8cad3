#include "orders/answer_writers.h"

#include "base/result.h"
#include "orders/pending_requests.h"
#include "orders/slots.h"
#include "wire/vend_payloads.h"

namespace {

using namespace slots;

enum AnswerId : uint8_t {
    kAnswerReboot = 135,
    kAnswerIntfPwrCtrl = 137,
    kAnswerWPSCtrl = 144,
    kAnswerAPSteering = 146,
    kAnswerFWCtrl = 148,
    kAnswerResetToDefault = 150,
    kAnswerSendCommand = 160,
    kAnswerLEDCtrl = 162,
    kAnswerSendBcnRpt = 203,
    kAnswerGetBcnRpt = 205,
    kAnswerBTM = 207,
    kAnswerAddBlacklist = 209,
    kAnswerDelBlacklist = 211,
    kAnswerSystemCtrl = 215,
};

int answerResult(AnswerId servId, uint16_t msgId, uint8_t result, uint16_t firstMsgId = 0) {
    int32_t pid = searchServReqRespPid(servId, msgId);
    if (pid == kNoClient && firstMsgId != 0) pid = searchServReqRespPid(servId, firstMsgId);
    if (pid == kNoClient) return kOk;
    return ServResp(pid, servId).number(resp::kResult, result).post();
}

}  // namespace

int respNbrRebootServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerReboot, msgId, result);
}

int respWPSCrtlServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerWPSCtrl, msgId, result);
}

int respAPSteeringServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerAPSteering, msgId, result);
}

int respFWCrtlServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerFWCtrl, msgId, result);
}

int respNbrResetToDefaultServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerResetToDefault, msgId, result);
}

int respSendCommandServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerSendCommand, msgId, result);
}

int respNbrLEDCtrlServReq(uint16_t msgId, uint8_t result, uint16_t firstMsgId) {
    return answerResult(kAnswerLEDCtrl, msgId, result, firstMsgId);
}

int respNbrSystemCtrlServReq(uint16_t msgId, uint8_t result, uint16_t firstMsgId) {
    return answerResult(kAnswerSystemCtrl, msgId, result, firstMsgId);
}

int respSendBcnRptServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerSendBcnRpt, msgId, result);
}

int respBTMServReq(uint16_t msgId, uint8_t result) {
    return answerResult(kAnswerBTM, msgId, result);
}

int respNbrIntfPwrCtrlServReq(uint16_t msgId, const IntfPwrCtrlResp& answer) {
    const int32_t pid = searchServReqRespPid(kAnswerIntfPwrCtrl, msgId);
    if (pid == kNoClient) return kOk;
    ServResp out(pid, kAnswerIntfPwrCtrl);
    out.number(resp::kPwrIntfNum, static_cast<uint32_t>(answer.intfs.size()));
    size_t at = resp::kPwrEntries;
    for (const IntfValue& intf : answer.intfs) {
        out.bytes(at, intf.mac.b)
            .number({at + 6, 2}, intf.mediaType)
            .number({at + 8, 1}, intf.value);
        at += resp::kPwrEntryLen;
    }
    return out.post();
}

int respGetBcnRptServReq(uint16_t msgId, const BcnRptResp& answer) {
    const int32_t pid = searchServReqRespPid(kAnswerGetBcnRpt, msgId);
    if (pid == kNoClient) return kOk;
    return ServResp(pid, kAnswerGetBcnRpt)
        .number(resp::kBcnRetCode, answer.retCode)
        .mac(resp::kBcnStation, answer.staMac)
        .number(resp::kBcnLen, static_cast<uint32_t>(answer.report.size()))
        .bytes(resp::kBcnReport, answer.report)
        .post();
}

int respBlacklistServReq(uint16_t msgId, const BlacklistResp& answer) {
    return answerResult(answer.option == kBlacklistAdd ? kAnswerAddBlacklist : kAnswerDelBlacklist,
                        msgId, answer.retCode);
}
