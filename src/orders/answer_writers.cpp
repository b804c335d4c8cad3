#include "orders/answer_writers.h"

#include "base/result.h"
#include "orders/pending_requests.h"
#include "orders/service_ids.h"
#include "orders/slots.h"
#include "wire/vend_payloads.h"

using namespace slots;

int answerClient(ServId order, uint16_t msgId, uint8_t result, uint16_t firstMsgId) {
    const uint16_t answer = answerId(order);
    int32_t pid = searchServReqRespPid(answer, msgId);
    if (pid == kNoClient && firstMsgId != 0) pid = searchServReqRespPid(answer, firstMsgId);
    if (pid == kNoClient) return kOk;
    return ServResp(pid, answer).number(resp::kResult, result).post();
}

int respNbrIntfPwrCtrlServReq(uint16_t msgId, const IntfPwrCtrlResp& answer) {
    const int32_t pid = searchServReqRespPid(answerId(kServIntfPwrCtrl), msgId);
    if (pid == kNoClient) return kOk;
    ServResp out(pid, answerId(kServIntfPwrCtrl));
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
    const int32_t pid = searchServReqRespPid(answerId(kServGetBcnRpt), msgId);
    if (pid == kNoClient) return kOk;
    return ServResp(pid, answerId(kServGetBcnRpt))
        .number(resp::kBcnRetCode, answer.retCode)
        .mac(resp::kBcnStation, answer.staMac)
        .number(resp::kBcnLen, static_cast<uint32_t>(answer.report.size()))
        .bytes(resp::kBcnReport, answer.report)
        .post();
}

int respBlacklistServReq(uint16_t msgId, const BlacklistResp& answer) {
    return answerClient(answer.option == kBlacklistAdd ? kServAddBlacklist : kServRemoveBlacklist,
                        msgId, answer.retCode);
}
