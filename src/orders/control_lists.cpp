#include "orders/control_lists.h"

#include "base/state.h"
#include "db/database.h"
#include "net/vend_sender.h"
#include "orders/answer_writers.h"
#include "orders/schedule.h"
#include "wire/vend_payloads.h"

namespace {

ControlLists& lists() {
    return stateOf<ControlLists>();
}

// What sets the lists apart.
struct Kind {
    CheckId check;  // its row in the schedule
    int32_t ScheduleSettings::*limit;
    const char* retryLine;
    int (*answer)(uint16_t msgId, uint8_t result) = nullptr;  // to the client that waits
};

using S = ScheduleSettings;
constexpr Kind kReboot{kCheckRebootCtrl, &S::RebootCtrl_LoopCount, "retry send RebootCtrl msg",
                       respNbrRebootServReq};
constexpr Kind kResetToDefault{kCheckResetToDefaultCtrl, &S::ResetToDefaultCtrl_LoopCount,
                               "retry send ResetToDefaultCtrl msg", respNbrResetToDefaultServReq};
constexpr Kind kLED{kCheckLEDCtrl, &S::LEDCtrl_LoopCount, "retry to send LED ctrl"};
constexpr Kind kSystem{kCheckSystemCtrl, &S::SystemCtrl_LoopCount, "retry to send system ctrl"};
constexpr Kind kNetwork{kCheckNetworkCtrl, &S::NetworkCtrl_LoopCount, "retry to send network ctrl"};
constexpr Kind kLogFile{kCheckLogFile, &S::LogFile_LoopCount, "retry to ask for the log file"};

bool isMissing(const MacAddr* almac) {
    if (almac == nullptr) LOG_PUTS(4, "almac == NULL ");
    return almac == nullptr;
}

// The next pass over the list comes one full period from now.
template <typename Value>
void activate(RetryList<Value>& list, const Kind& kind) {
    list.activate();
    checkTimeStamp(kind.check) = now();
}

template <typename Value, typename Send>
int repeat(RetryList<Value>& list, const Kind& kind, Send&& send) {
    list.repeat(scheduleSettings().*kind.limit, kind.retryLine, send);
    return kOk;
}

template <typename Value>
int setAnsweredList(RetryList<Value>& list, const Kind& kind, const MacAddr* almac, uint16_t msgId,
                    int flag, int result) {
    if (isMissing(almac)) return kFailure;
    LOG(4, "almac = " MAC_FMT ", msgId = %d, flag = %d\n", MAC_ARGS(*almac), msgId, flag);
    const auto answer = [&](uint16_t first) {
        (void)kind.answer(first, static_cast<uint8_t>(result));
    };
    if (flag == 0 && list.answered(*almac, answer)) return kOk;
    // Meant: the answer of a device without an order makes an entry too.
    if (list.append({*almac, msgId, {}, flag, 0}) != kOk) return kFailure;
    activate(list, kind);
    return kOk;
}

// For the lists in which a device has one entry.
template <typename Value>
uint16_t clear(RetryList<Value>& list, const MacAddr& almac) {
    uint16_t waiting = 0;
    (void)list.answered(almac, [&](uint16_t msgId) { waiting = msgId; });
    return waiting;
}

// Calls add for the device, or for every device of the topology table if the address is all zero.
template <typename Value, typename Add>
int enterDevices(RetryList<Value>& list, const Kind& kind, const MacAddr* almac, Add&& add) {
    if (isMissing(almac)) return kFailure;
    int result = kOk;
    if (!almac->isZero()) {
        result = add(*almac);
    } else if (const TopolTable* topol = getNetTopolTable()) {
        for (const auto& dev : topol->devs) {
            if (add(dev.alMac) != kOk) result = kFailure;
        }
    }
    activate(list, kind);
    return result;
}

}  // namespace

int setRebootCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result) {
    return setAnsweredList(lists().reboot, kReboot, almac, msgId, flag, result);
}

int setResetToDefaultCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result) {
    return setAnsweredList(lists().resetToDefault, kResetToDefault, almac, msgId, flag, result);
}

bool isResetOrdered(const MacAddr& almac) {
    return lists().resetToDefault.find(almac) != nullptr;
}

uint16_t clearLEDCtrlList(const MacAddr& almac) {
    return clear(lists().led, almac);
}

uint16_t clearSystemCtrlList(const MacAddr& almac) {
    return clear(lists().system, almac);
}

void clearLogFileList(const MacAddr& almac) {
    (void)clear(lists().logFile, almac);
}

void clearNetworkCtrlList(const MacAddr& almac, uint16_t option) {
    const auto* entry = lists().network.find(almac);
    // The answer to an earlier order does not end a later one.
    if (entry != nullptr && entry->value.option == option) (void)clear(lists().network, almac);
}

int addLEDCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId) {
    return lists().led.replace({almac, msgId, value, flag, 0});
}

int addSystemCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId) {
    return lists().system.replace({almac, msgId, value, flag, 0});
}

int setLEDCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId) {
    return enterDevices(lists().led, kLED, almac, [&](const MacAddr& dev) {
        return addLEDCtrlList(dev, value, flag, msgId);
    });
}

int setSystemCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId) {
    return enterDevices(lists().system, kSystem, almac, [&](const MacAddr& dev) {
        return addSystemCtrlList(dev, value, flag, msgId);
    });
}

int addNetworkCtrlList(const MacAddr& almac, uint16_t option, std::string_view command, int flag) {
    return lists().network.replace({almac, 0, {option, std::string(command)}, flag, 0});
}

int setNetworkCtrlList(const MacAddr* almac, uint16_t option, std::string_view command, int flag) {
    return enterDevices(lists().network, kNetwork, almac, [&](const MacAddr& dev) {
        return addNetworkCtrlList(dev, option, command, flag);
    });
}

int setLogFileList(const MacAddr* almac) {
    return enterDevices(lists().logFile, kLogFile, almac, [](const MacAddr& dev) {
        return lists().logFile.replace({dev, 0, {}, 1, 0});
    });
}

int checkRebootCtrlList() {
    return repeat(lists().reboot, kReboot, [](const auto& entry) {
        Outputlog("[Reboot] send Reboot to (" MAC_FMT ")", MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_REBOOT_REQ, AlMacPayload{entry.almac});
    });
}

int checkResetToDefaultCtrlList() {
    return repeat(lists().resetToDefault, kResetToDefault, [](const auto& entry) {
        Outputlog("[ResetToDefault] send reset to default to (" MAC_FMT ")", MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_RESETTODEFAULT_REQ, AlMacPayload{entry.almac});
    });
}

int checkLEDCtrlList() {
    return repeat(lists().led, kLED, [](const auto& entry) {
        Outputlog("[LEDCtrl] send LED (%d) to (" MAC_FMT ")", entry.value, MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_LED_CTRL_REQ,
                          OptionPayload{entry.almac, static_cast<uint8_t>(entry.value)});
    });
}

int checkSystemCtrlList() {
    return repeat(lists().system, kSystem, [](const auto& entry) {
        Outputlog("[SystemCtrl] send System (%d) to (" MAC_FMT ")", entry.value,
                  MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_SYSTEM_CTRL_REQ,
                          OptionPayload{entry.almac, static_cast<uint8_t>(entry.value)});
    });
}

int CheckNetworkCtrlList() {
    return repeat(lists().network, kNetwork, [](const auto& entry) {
        Outputlog("[NetworkCtrl] send Network (%d) to (" MAC_FMT ")", entry.value.option,
                  MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_NETWORKCTRL_REQ,
                          NetworkCtrlReq{entry.almac, entry.value.option, entry.value.command});
    });
}

int checkLogFileList() {
    return repeat(lists().logFile, kLogFile, [](const auto& entry) {
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_REQUESTLOGFILE_REQ, AlMacPayload{entry.almac});
    });
}
