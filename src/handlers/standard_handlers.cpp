#include "handlers/standard_handlers.h"

#include "base/log.h"
#include "base/result.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/local_tables.h"
#include "db/neighbor_aging.h"
#include "db/registrars.h"
#include "db/upcalls.h"
#include "net/message_integrity.h"
#include "net/transmitter.h"
#include "net/vend_sender.h"
#include "net/work_limit.h"
#include "publish/listing.h"
#include "wire/frame.h"
#include "wire/vend_payloads.h"

namespace {

void listTables() {
    if (DEBUGLEVEL < 4) return;
    showportinfo();
    showtopolTable();
}

// False if the message names a device or an interface that is new, and its source has already
// named too many.
bool mayAdd(std::string_view localName, const MacAddr& srcMac, const MacAddr& alMac,
            const MacAddr& intfMac) {
    IntfTable* intf = getIntfTableByName(localName);
    const bool isKnown = intf != nullptr && findNbrDev(alMac) != nullptr &&
                         getIntfNbrDevByMac(*intf, srcMac) != nullptr &&
                         getIntfNbrDevByMac(*intf, intfMac) != nullptr;
    return isKnown || mayWork(srcMac, Work::kNewcomer);
}

// Turns the platform's result into that of the calling handler, and logs failure under the
// handler's name.
int handled(int platformResult, const char* failure, const char* handler = __builtin_FUNCTION(),
            int line = __builtin_LINE()) {
    if (platformResult == 0) return kOk;
    if (DEBUGLEVEL >= 1) {
        logLine(1, handler, line, "%s", failure);
    }
    return kFailure;
}

// True if a Registrar has sent the message to which this device does not keep. With the key of the
// mesh, only devices that have it count as Registrars.
bool isFromOtherRegistrar(const ApAutoConfInfo& msg) {
    const MacAddr alMac(msg.alMac);
    const bool isBelieved = !meshKeyIsUsed() || speaksWithKey(alMac);
    if (msg.supportedRole == PLATFORM_REGISTRAR && isBelieved) noteRegistrar(alMac);
    if (!isOtherRegistrar(alMac)) return false;
    LOG(3, "Registrar (" MAC_FMT ") is ignored: this device keeps to another one\r\n",
        MAC_ARGS(alMac));
    return true;
}

}  // namespace

int handleTopolDiscMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                       const MacAddr& srcMac, const MacAddr& alMac, const MacAddr& intfMac,
                       NbrMsgType kind) {
    if (!mayAdd(localName, srcMac, alMac, intfMac)) return kDuplicate;
    noteNamedIntf(localName, localMac, mediaType, intfMac);
    if (getNetTopolCap() != 1) return kTopolDisabled;
    updateTopolInfo(kind, localName, localMac, mediaType, alMac, srcMac);
    listTables();
    if (updateNbrDevTable(kNbrDiscovery, alMac) == kNewNbrDev) {
        (void)sendVendDiscMsg(&srcMac);
        (void)requestSendFollowUpQuery(srcMac);
    }
    return kOk;
}

int handleTopolNtfMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                      const MacAddr& srcMac, const MacAddr& alMac) {
    if (!mayAdd(localName, srcMac, alMac, srcMac)) return kDuplicate;
    noteNamedIntf(localName, localMac, mediaType, srcMac);
    if (getNetTopolCap() != 1) return kTopolDisabled;
    updateTopolInfo(kNbrNotification, localName, localMac, mediaType, alMac, srcMac);
    listTables();
    (void)updateNbrDevTable(kNbrNotification, alMac);
    (void)requestSendFollowUpQuery(srcMac);
    return kOk;
}

int handleTopolQueryMsg(const Port& /*port*/, const MacAddr& srcMac, uint16_t msgId) {
    if (getNetTopolCap() != 1) return kTopolDisabled;
    if (requestSend1905UcastRespMsg(srcMac, kMsgTopolResp, msgId, {}) != kOk) {
        LOG_PUTS(2, "failed to send topolofy response message\r");
        return kFailure;
    }
    return kOk;
}

int handleTopolRespMsg(const MacAddr& localMac, uint32_t mediaType, const MacAddr& srcMac,
                       const DevTopol& dev) {
    if (getNetTopolCap() != 1) {
        LOG_PUTS(3, "the capability of network topology is disable\r");
        return kTopolDisabled;
    }
    const MacAddr alMac = dev.alMac;
    // Without an entry in the neighbor table the device would never time out.
    if (updateNbrDevTable(kNbrResponse, alMac) == kFailure) return kFailure;
    noteAnswer(srcMac, alMac);
    if (updateIeee1905DevTable(localMac, mediaType, dev) != kOk) return kFailure;
    if (DEBUGLEVEL >= 4) showportinfo();
    // Forces passes of the controller loop, which ask the device for its configuration before this
    // handler returns.
    upcalls().deviceDescribed(alMac);
    return kOk;
}

int handleMetricQueryMsg(const Port& /*port*/, const MacAddr& srcMac, uint16_t msgId,
                         const MetricQuery& query) {
    if (requestSend1905UcastRespMsg(srcMac, kMsgMetricResp, msgId, metricRespBody(query)) != kOk) {
        LOG_PUTS(2, "failed to send link metric response message\r");
        return kFailure;
    }
    return kOk;
}

int handleMetricRespMsg() {
    return kOk;
}

int handleApAutoConfSrchMsg(const ApAutoConfSrch& msg) {
    return handled(notifyApAutoConfSrchMsgReceived(&msg),
                   "fail to handle the 1905.1 AP-autoconfiguration search message\r\n");
}

int handleApAutoConfRespMsg(const ApAutoConfInfo& msg) {
    if (isFromOtherRegistrar(msg)) return kOk;
    return handled(notifyApAutoConfRespMsgReceived(&msg),
                   "fail to handle the 1905.1 AP-autoconfiguration response message\r\n");
}

int handleApAutoConfWscMsg(const ApAutoConfWsc& msg) {
    if (isOtherRegistrar(MacAddr(msg.alMac))) return kOk;
    return handled(notifyApAutoConfWscMsgReceived(&msg),
                   "fail to handle the 1905.1 AP-autoconfiguration WSC message\r\n");
}

int handleApAutoConfRenewMsg(const ApAutoConfInfo& msg) {
    if (isFromOtherRegistrar(msg)) return kOk;
    const int answer = notifyApAutoConfRenewMsgReceived(&msg);
    if (answer == PLATFORM_RENEW_STARTED) return kOk;
    const int result =
        handled(answer, "fail to handle the 1905.1 AP-autoconfiguration renew message\r\n");
    return result == kOk ? acknowledgeRenew(MacAddr(msg.alMac), msg.freqBand) : result;
}

int acknowledgeRenew(const MacAddr& registrar, uint8_t band) {
    const AlTable* al = getAlTable();
    if (al != nullptr && al->role() == PLATFORM_ENROLLEE) {
        (void)sendVendMsg(registrar, VEND_MSG_TYPE_APAUTOCONFIG_ACK,
                          OptionPayload{al->alMac, band});
    }
    return kOk;
}

int handlePBEventNtfMsg(const PbEvent& msg) {
    return handled(notifyPBEventMsgReceived(&msg),
                   "fail to handle the 1905.1 push button event notification message\r\n");
}

int handlePBJoinNtfMsg(const PbJoin& msg) {
    return handled(notifyPBJoinMsgReceived(&msg),
                   "fail to handle the 1905.1 push button join notification message\r\n");
}

int handleLldpDiscMsg(std::string_view localName, const MacAddr& localMac, uint32_t mediaType,
                      const MacAddr& nbrAlMac, const MacAddr& nbrIntfMac, uint16_t ttl) {
    updateLldpDiscInfo(localName, localMac, mediaType, nbrAlMac, nbrIntfMac, ttl);
    return kOk;
}
