#include "handlers/steering_handlers.h"

#include <algorithm>
#include <cstdio>

#include "base/result.h"
#include "handlers/control_request.h"
#include "orders/answer_writers.h"
#include "platform/device.h"
#include "wire/vend_payloads.h"

namespace {

enum BcnRptKind : uint8_t { kRequestSent = 0, kReport = 1 };

int answerBcnRpt(const VendContext& context, const BcnRptReqPayload& request, VendMsgType type,
                 BcnRptKind kind, int retCode, std::vector<uint8_t>&& report) {
    BcnRptResp answer;
    answer.kind = kind;
    answer.retCode = resultByte(retCode);
    answer.staMac = request.staMac;
    answer.report = std::move(report);
    return answerRequest(context, type, std::move(answer), retCode);
}

}  // namespace

int handleAPSteeringReqMsg(const VendContext& context, const OptionPayload& request) {
    return answerRequest(context, VEND_MSG_TYPE_APSteering_RESP, setAPSteering(request.option));
}

int handleAPSteeringRespMsg(const VendContext& context, const RetCodePayload& answer) {
    return respAPSteeringServReq(context.msgId, answer.retCode);
}

int handleSendBcnRptReqMsg(const VendContext& context, const BcnRptReqPayload& request) {
    BcnRptReq req{};
    request.staMac.copyTo(req.staMac);
    request.bssid.copyTo(req.bssid);
    req.operatingClass = request.operatingClass;
    req.channel = request.channel;
    req.mode = request.mode;
    req.duration = request.duration;
    snprintf(req.ssid, sizeof req.ssid, "%s", request.ssid.c_str());
    return answerBcnRpt(context, request, VEND_MSG_TYPE_SENDBCNRPT_RESP, kRequestSent,
                        sendBcnRptReq(&req), {});
}

int handleGetBcnRptReqMsg(const VendContext& context, const BcnRptReqPayload& request) {
    BcnRpt report{};
    request.staMac.copyTo(report.staMac);
    const int retCode = getBcnRptReq(&report);
    const size_t length = retCode == kOk ? std::min<size_t>(report.len, kMaxBcnRpt) : 0;
    return answerBcnRpt(context, request, VEND_MSG_TYPE_GETBCNRPT_RESP, kReport, retCode,
                        {report.data, report.data + length});
}

int handleGetBcnRptRespMsg(const VendContext& context, const BcnRptResp& answer) {
    if (answer.kind == kRequestSent) return respSendBcnRptServReq(context.msgId, answer.retCode);
    return respGetBcnRptServReq(context.msgId, answer);
}

int handleBTMReqMsg(const VendContext& context, const BtmReqPayload& request) {
    BtmReq req{};
    request.staMac.copyTo(req.staMac);
    request.bssid.copyTo(req.bssid);
    req.operatingClass = request.operatingClass;
    req.channel = request.channel;
    req.disassocImminent = request.disassocImminent;
    req.disassocTimer = request.disassocTimer;
    return answerRequest(context, VEND_MSG_TYPE_SENDBTM_RESP, sendBTMReq(&req));
}

int handleBTMRespMsg(const VendContext& context, const RetCodePayload& answer) {
    return respBTMServReq(context.msgId, answer.retCode);
}

int handleBlacklistReqMsg(const VendContext& context, const BlacklistReq& request) {
    const uint8_t* staMac = request.staMac.data();
    const int retCode = request.option == kBlacklistAdd      ? addToBlacklist(staMac)
                        : request.option == kBlacklistRemove ? delFromBlacklist(staMac)
                                                             : static_cast<int>(kFailure);
    BlacklistResp answer;
    answer.option = request.option;
    answer.retCode = resultByte(retCode);
    return answerRequest(context, VEND_MSG_TYPE_ADDBLACKLIST_RESP, std::move(answer), retCode);
}

int handleBlacklistRespMsg(const VendContext& context, const BlacklistResp& answer) {
    return respBlacklistServReq(context.msgId, answer);
}
