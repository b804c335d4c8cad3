#include "orders/query_tracking.h"

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "net/vend_sender.h"
#include "wire/vend_payloads.h"

namespace {

constexpr uint16_t kFree = VendQueryTable::kFree;
constexpr Seconds kTimeout = 5;
constexpr uint8_t kMaxRetries = 2;

auto& queries() {
    return stateOf<VendQueries>().queries;
}

int sendQuery(const MacAddr& alMac, VendMsgType type, uint8_t retry, bool registers) {
    uint16_t msgId = 0;
    if (sendVendMsg(alMac, type, AlMacPayload{alMac}, &msgId) != kOk) {
        return kFailure;
    }
    if (registers) registerVendQueryMsg(alMac, msgId, type, retry);
    return kOk;
}

void resend(VendQueryTable& entry, Seconds time) {
    LOG(4,
        "resend vendor query message: alMac = " MAC_FMT
        ", msgId = %d, vendMsgType = %d, retry = %d, time = %ld:%ld\r\n",
        MAC_ARGS(entry.alMac), entry.msgId, entry.vendMsgType, entry.retry,
        static_cast<long>(entry.time), static_cast<long>(time));
    entry.retry++;
    // Sending registers the query again. If the table is full, that may overwrite this entry.
    const VendQueryTable query = entry;
    if (query.vendMsgType == VEND_MSG_TYPE_CONF_QUERY) {
        (void)requestSendConfQueryMsg(query.alMac, query.retry);
    } else if (query.vendMsgType == VEND_MSG_TYPE_INTF_PWR_STATE_QUERY) {
        (void)requestSendIntfPwrStateQueryMsg(query.alMac, query.retry);
    }
    if (entry.msgId == query.msgId) entry.msgId = kFree;
}

}  // namespace

int initVendQueries() {
    queries().fill({});
    return kOk;
}

int requestSendConfQueryMsg(const MacAddr& alMac, uint8_t retry) {
    return sendQuery(alMac, VEND_MSG_TYPE_CONF_QUERY, retry, true);
}

int requestSendIntfPwrStateQueryMsg(const MacAddr& alMac, uint8_t retry) {
    return sendQuery(alMac, VEND_MSG_TYPE_INTF_PWR_STATE_QUERY, retry, true);
}

int requestSendWIFIstateQueryMsg(const MacAddr& alMac, uint8_t retry) {
    return sendQuery(alMac, VEND_MSG_TYPE_WIFI_STATE_REQ, retry, true);
}

int requestSendConfQueryMsg2(const MacAddr& alMac, uint8_t retry) {
    return sendQuery(alMac, VEND_MSG_TYPE_CONF_QUERY2, retry, false);
}

void registerVendQueryMsg(const MacAddr& alMac, uint16_t msgId, uint16_t vendMsgType,
                          uint8_t retry) {
    LOG(4, "alMac = " MAC_FMT ", msgId = %d, vendMsgType = %d\r\n", MAC_ARGS(alMac), msgId,
        vendMsgType);
    const Seconds time = now();
    VendQueryTable* oldest = &queries().front();
    for (auto& entry : queries()) {
        if (entry.msgId == kFree) {
            entry = {alMac, msgId, vendMsgType, retry, time};
            return;
        }
        if (entry.time < oldest->time) oldest = &entry;
    }
    // Meant: the type and the retry count of the replaced query stay.
    oldest->alMac = alMac;
    oldest->msgId = msgId;
    oldest->time = time;
}

void ReportVendRespMsg(const MacAddr& alMac, uint16_t msgId, uint16_t vendMsgType) {
    LOG(4, "alMac = " MAC_FMT ", msgId = %d, vendMsgType = %d\r\n", MAC_ARGS(alMac), msgId,
        vendMsgType);
    for (auto& entry : queries()) {
        if (!entry.isActive() || entry.alMac != alMac || entry.msgId != msgId ||
            entry.vendMsgType != vendMsgType) {
            continue;
        }
        entry.msgId = kFree;
        return;
    }
}

int checkVendRespMsgReceived() {
    const Seconds time = now();
    for (auto& entry : queries()) {
        if (!entry.isActive()) continue;
        if (entry.retry >= kMaxRetries) {
            entry.msgId = kFree;
        } else if (time - entry.time > kTimeout) {
            resend(entry, time);
        }
    }
    return kOk;
}
