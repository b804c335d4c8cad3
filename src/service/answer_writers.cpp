#include "service/answer_writers.h"

#include "core/result.h"
#include "service/pending_requests.h"
#include "vendor/payloads.h"

namespace {

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

// While the channel to the clients is not there, none can have registered.
int forgetClient(AnswerId servId, uint16_t msgId) {
    (void)searchServReqRespPid(servId, msgId);
    return kOk;
}

}  // namespace

int respNbrRebootServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerReboot, msgId);
}

int respWPSCrtlServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerWPSCtrl, msgId);
}

int respAPSteeringServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerAPSteering, msgId);
}

int respFWCrtlServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerFWCtrl, msgId);
}

int respNbrResetToDefaultServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerResetToDefault, msgId);
}

int respSendCommandServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerSendCommand, msgId);
}

int respNbrLEDCtrlServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerLEDCtrl, msgId);
}

int respNbrSystemCtrlServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerSystemCtrl, msgId);
}

int respSendBcnRptServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerSendBcnRpt, msgId);
}

int respBTMServReq(uint16_t msgId, uint8_t /*result*/) {
    return forgetClient(kAnswerBTM, msgId);
}

int respNbrIntfPwrCtrlServReq(uint16_t msgId, const IntfPwrCtrlResp& /*resp*/) {
    return forgetClient(kAnswerIntfPwrCtrl, msgId);
}

int respGetBcnRptServReq(uint16_t msgId, const BcnRptResp& /*resp*/) {
    return forgetClient(kAnswerGetBcnRpt, msgId);
}

int respBlacklistServReq(uint16_t msgId, const BlacklistResp& resp) {
    constexpr uint8_t kAdd = 0;
    return forgetClient(resp.option == kAdd ? kAnswerAddBlacklist : kAnswerDelBlacklist, msgId);
}
