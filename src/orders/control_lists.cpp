#include "orders/control_lists.h"

#include <memory>
#include <string>

#include "db/database.h"
#include "net/vend_sender.h"
#include "orders/answer_writers.h"
#include "orders/retry_list.h"
#include "wire/vend_payloads.h"

namespace {

struct NoValue {};

struct RebootKind {
    using Value = NoValue;
    static constexpr CheckId kCheck = kCheckRebootCtrl;
    static constexpr auto kLimit = &ScheduleSettings::RebootCtrl_LoopCount;
    static constexpr const char* kRetryLine = "retry send RebootCtrl msg";

    static void send(const RetryEntry<Value>& entry) {
        Outputlog("[Reboot] send Reboot to (" MAC_FMT ")", MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_REBOOT_REQ, AlMacPayload{entry.almac});
    }
    static void answer(uint16_t msgId, int result) {
        (void)respNbrRebootServReq(msgId, static_cast<uint8_t>(result));
    }
};

struct ResetToDefaultKind {
    using Value = NoValue;
    static constexpr CheckId kCheck = kCheckResetToDefaultCtrl;
    static constexpr auto kLimit = &ScheduleSettings::ResetToDefaultCtrl_LoopCount;
    static constexpr const char* kRetryLine = "retry send ResetToDefaultCtrl msg";

    static void send(const RetryEntry<Value>& entry) {
        Outputlog("[ResetToDefault] send reset to default to (" MAC_FMT ")", MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_RESETTODEFAULT_REQ, AlMacPayload{entry.almac});
    }
    static void answer(uint16_t msgId, int result) {
        (void)respNbrResetToDefaultServReq(msgId, static_cast<uint8_t>(result));
    }
};

struct LEDKind {
    using Value = int32_t;
    static constexpr CheckId kCheck = kCheckLEDCtrl;
    static constexpr auto kLimit = &ScheduleSettings::LEDCtrl_LoopCount;
    static constexpr const char* kRetryLine = "retry to send LED ctrl";

    static void send(const RetryEntry<Value>& entry) {
        Outputlog("[LEDCtrl] send LED (%d) to (" MAC_FMT ")", entry.value, MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_LED_CTRL_REQ,
                          OptionPayload{entry.almac, static_cast<uint8_t>(entry.value)});
    }
};

struct SystemKind {
    using Value = int32_t;
    static constexpr CheckId kCheck = kCheckSystemCtrl;
    static constexpr auto kLimit = &ScheduleSettings::SystemCtrl_LoopCount;
    static constexpr const char* kRetryLine = "retry to send system ctrl";

    static void send(const RetryEntry<Value>& entry) {
        Outputlog("[SystemCtrl] send System (%d) to (" MAC_FMT ")", entry.value,
                  MAC_ARGS(entry.almac));
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_SYSTEM_CTRL_REQ,
                          OptionPayload{entry.almac, static_cast<uint8_t>(entry.value)});
    }
};

struct NetworkOrder {
    uint16_t option = 0;
    std::string command;
};

struct NetworkKind {
    using Value = NetworkOrder;
    static constexpr CheckId kCheck = kCheckNetworkCtrl;
    static constexpr auto kLimit = &ScheduleSettings::NetworkCtrl_LoopCount;
    static constexpr const char* kRetryLine = "retry to send network ctrl";

    static void send(const RetryEntry<Value>& entry) {
        Outputlog("[NetworkCtrl] send Network (%d) to (" MAC_FMT ")", entry.value.option,
                  MAC_ARGS(entry.almac));
        NetworkCtrlReq payload;
        payload.almac = entry.almac;
        payload.networkOption = entry.value.option;
        payload.command = entry.value.command;
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_NETWORKCTRL_REQ, std::move(payload));
    }
};

struct LogFileKind {
    using Value = NoValue;
    static constexpr CheckId kCheck = kCheckLogFile;
    static constexpr auto kLimit = &ScheduleSettings::LogFile_LoopCount;
    static constexpr const char* kRetryLine = "retry to ask for the log file";

    static void send(const RetryEntry<Value>& entry) {
        (void)sendVendMsg(entry.almac, VEND_MSG_TYPE_REQUESTLOGFILE_REQ, AlMacPayload{entry.almac});
    }
};

struct {
    RetryList<RebootKind> reboot;
    RetryList<ResetToDefaultKind> resetToDefault;
    RetryList<LEDKind> led;
    RetryList<SystemKind> system;
    RetryList<NetworkKind> network;
    RetryList<LogFileKind> logFile;
} lists;

bool isMissing(const MacAddr* almac) {
    if (almac == nullptr) LOG_PUTS(4, "almac == NULL ");
    return almac == nullptr;
}

template <typename Kind>
int setAnsweredList(RetryList<Kind>& list, const MacAddr* almac, uint16_t msgId, int flag,
                    int result) {
    if (isMissing(almac)) return kFailure;
    LOG(4, "almac = " MAC_FMT ", msgId = %d, flag = %d\n", MAC_ARGS(*almac), msgId, flag);
    if (flag == 0) {
        if (auto* entry = list.find(*almac)) {
            entry->flag = 0;
            if (entry->msgId != 0) Kind::answer(entry->msgId, result);
            return kOk;
        }
    }
    // Meant: the answer of a device that was asked nothing makes an entry, too.
    if (list.append({*almac, msgId, {}, flag, 0}) != kOk) return kFailure;
    list.activate();
    return kOk;
}

// Enters one device, or with the all-zero address every device of the topology table.
template <typename Kind, typename Add>
int enterDevices(RetryList<Kind>& list, const MacAddr* almac, Add&& add) {
    if (isMissing(almac)) return kFailure;
    int result = kOk;
    if (!almac->isZero()) {
        result = add(*almac);
    } else if (const TopolTable* topol = getNetTopolTable()) {
        for (const auto& dev : topol->devs) {
            if (add(dev.alMac) != kOk) result = kFailure;
        }
    }
    list.activate();
    return result;
}

}  // namespace

void initCtrlLists() {
    lists.reboot.clear();
    lists.resetToDefault.clear();
    lists.led.clear();
    lists.system.clear();
    lists.network.clear();
    lists.logFile.clear();
}

int setRebootCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result) {
    return setAnsweredList(lists.reboot, almac, msgId, flag, result);
}

int setResetToDefaultCtrlList(const MacAddr* almac, uint16_t msgId, int flag, int result) {
    return setAnsweredList(lists.resetToDefault, almac, msgId, flag, result);
}

uint16_t clearLEDCtrlList(const MacAddr& almac) {
    return lists.led.answered(almac);
}

uint16_t clearSystemCtrlList(const MacAddr& almac) {
    return lists.system.answered(almac);
}

void clearLogFileList(const MacAddr& almac) {
    (void)lists.logFile.answered(almac);
}

void clearNetworkCtrlList(const MacAddr& almac, uint16_t option) {
    const auto* entry = lists.network.find(almac);
    // The answer to an earlier order does not end a later one.
    if (entry != nullptr && entry->value.option == option) (void)lists.network.answered(almac);
}

int addLEDCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId) {
    return lists.led.replace({almac, msgId, value, flag, 0});
}

int addSystemCtrlList(const MacAddr& almac, int32_t value, int flag, uint16_t msgId) {
    return lists.system.replace({almac, msgId, value, flag, 0});
}

int setLEDCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId) {
    return enterDevices(lists.led, almac, [&](const MacAddr& dev) {
        return addLEDCtrlList(dev, value, flag, msgId);
    });
}

int setSystemCtrlList(const MacAddr* almac, int32_t value, int flag, uint16_t msgId) {
    return enterDevices(lists.system, almac, [&](const MacAddr& dev) {
        return addSystemCtrlList(dev, value, flag, msgId);
    });
}

int addNetworkCtrlList(const MacAddr& almac, uint16_t option, std::string_view command, int flag) {
    return lists.network.replace({almac, 0, {option, std::string(command)}, flag, 0});
}

int setNetworkCtrlList(const MacAddr* almac, uint16_t option, std::string_view command, int flag) {
    return enterDevices(lists.network, almac, [&](const MacAddr& dev) {
        return addNetworkCtrlList(dev, option, command, flag);
    });
}

int setLogFileList(const MacAddr* almac) {
    return enterDevices(lists.logFile, almac, [](const MacAddr& dev) {
        return lists.logFile.replace({dev, 0, {}, 1, 0});
    });
}

int checkRebootCtrlList() {
    lists.reboot.repeat();
    return kOk;
}

int checkResetToDefaultCtrlList() {
    lists.resetToDefault.repeat();
    return kOk;
}

int checkLEDCtrlList() {
    lists.led.repeat();
    return kOk;
}

int checkSystemCtrlList() {
    lists.system.repeat();
    return kOk;
}

int CheckNetworkCtrlList() {
    lists.network.repeat();
    return kOk;
}

int checkLogFileList() {
    lists.logFile.repeat();
    return kOk;
}
