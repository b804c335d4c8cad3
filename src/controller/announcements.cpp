#include "controller/announcements.h"

#include <iterator>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "controller/alarm.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "handlers/net_status.h"
#include "net/transmitter.h"
#include "net/vend_sender.h"
#include "platform/lifecycle.h"
#include "publish/json_data_model.h"
#include "wire/frame.h"

namespace {

constexpr uint16_t kFirstAlarm = 6;  // seconds after start-up; sends nothing
constexpr uint16_t kSecondAlarm = 54;
constexpr uint16_t kAlarmPeriod = 60;
constexpr Seconds kNotificationDelay = 1;
// After the return of a link. The first is late enough for the neighbors to answer again.
constexpr Seconds kRepeats[] = {6, 31};

Announcements& module() {
    return stateOf<Announcements>();
}

void announce() {
    if (getNetTopolCap() != 1) return;
    (void)sendTopolDisc();
    (void)sendVendDiscMsg(nullptr);
}

int discAlarmHandler() {
    rebindIntfPorts();  // the platform may not report that a port has joined a bridge
    if (getNetTopolCap() != 1) {
        LOG_PUTS(4, "The capability of network topology is disable\r");
        return setDiscMsgTransAlarm(kAlarmPeriod);
    }
    if (getNetTopolStatus() == 0) {
        setNetTopolStatus(1);
        return setDiscMsgTransAlarm(kSecondAlarm);
    }
    (void)sendTopolDisc();
    writeJsonDataModel();
    (void)sendVendDiscMsg(nullptr);
    return setDiscMsgTransAlarm(kAlarmPeriod);
}

}  // namespace

int initMessageHandler() {
    int result = kOk;
    if (getNetTopolCap() == 1) {
        (void)sendTopolDisc();
        (void)sendVendDiscMsg(nullptr);
    } else {
        LOG_PUTS(3, "the capability of network topology is disable\r");
        result = kTopolDisabled;
    }
    setDiscMsgTransAlarmHandler(discAlarmHandler);
    setDiscMsgTransAlarm(kFirstAlarm);
    (void)setNetStatusEventCallbackFunc(netStatusEventCallback);
    return result;
}

int requestSendTopolNtfMsg() {
    if (module().ntfPending) return kOk;
    module().ntfPending = true;
    module().ntfRequestTime = now();
    return kOk;
}

int checkUnsentTopolNtfMsg() {
    if (!module().ntfPending || now() - module().ntfRequestTime <= kNotificationDelay) return kOk;
    if (getNetTopolCap() == 1) (void)requestSend1905McastMsg(kMsgTopolNtf, {});
    module().ntfPending = false;
    return kOk;
}

void announceReturnedLink() {
    // A link that flaps must not cause more than one announcement in this time.
    if (module().linkReturnTime != 0 && now() - module().linkReturnTime < kRepeats[0]) return;
    module().linkReturnTime = now();
    module().discRepeats = 0;
    announce();
}

int checkDiscRepeat() {
    size_t& repeats = module().discRepeats;
    if (module().linkReturnTime == 0 || now() - module().linkReturnTime < kRepeats[repeats]) {
        return kOk;
    }
    announce();
    if (++repeats == std::size(kRepeats)) module().linkReturnTime = 0;
    return kOk;
}

int sendTopolDisc() {
    (void)requestSendLldpMsg();
    return requestSend1905McastMsg(kMsgTopolDisc, {});
}
