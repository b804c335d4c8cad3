#include "controller/controller_loop.h"

#include <iterator>

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "controller/mesh_news.h"
#include "controller/own_checks.h"
#include "controller/root_ap.h"
#include "controller/wifi_client_report.h"
#include "db/database.h"
#include "db/device_table.h"
#include "db/sys_ctrl.h"
#include "db/upcalls.h"
#include "orders/control_lists.h"
#include "orders/query_tracking.h"
#include "orders/schedule.h"
#include "orders/speed_test.h"
#include "orders/wifi_sync.h"
#include "platform/autoconfig.h"
#include "platform/device.h"

namespace {

using S = ScheduleSettings;

bool isDefaultModel() {
    return getDeviceModelType() == 0;
}

bool isLocalFWWanted() {
    return isDefaultModel() && scheduleSettings().Time_CHECKLOCALFWEXIST != 0;
}

bool isClientReportWanted() {
    return getSendWIFIClientInfo_flag() == 1;
}

// Renews and device-mode changes under way are checked on every pass.
int checkRenewals() {
    if (getSendRenew_flag() == 1) check_Renew_timeout();
    if (getChangetomeout_flag() == 1) (void)check_ChangeDeviceMode_timeout();
    return kOk;
}

struct Check {
    const char* name;
    int32_t S::*period;  // nullptr: every pass
    CheckId stamp;
    bool (*condition)();  // nullptr: none
    int (*run)();
};

// A new check needs a row here, an entry in CheckId and a period in ScheduleSettings.
constexpr Check kChecks[] = {
    {"sendWIFIClientInfo", &S::Time_SENDWIFICLIENTINFO, kCheckWIFIClientInfo, isClientReportWanted,
     sendWIFIClientInfo},
    {"reSendRenewbySynclist", &S::Time_RESENDRENEWBYSYNCLIST, kCheckRenewBySynclist, nullptr,
     reSendRenewbySynclist},
    {"checkRenewals", nullptr, kCheckRenewals, nullptr, checkRenewals},
    {"checkWIFIChannelInfo", &S::Time_CHECKWIFICHANNELINFO, kCheckWIFIChannelInfo, nullptr,
     checkWIFIChannelInfo},
    {"checkWIFIChannelSync", &S::Time_CHECKWIFICHANNELSYNC, kCheckWIFIChannelSync, isDefaultModel,
     checkWIFIChannelSync},
    {"checkWIFIStateSync", &S::Time_CHECKWIFISTATESYNC, kCheckWIFIStateSync, isDefaultModel,
     checkWIFIStateSync},
    {"checkWIFICountryCodeSync", &S::Time_CHECKWIFISTATESYNC, kCheckWIFICountryCodeSync,
     isDefaultModel, checkWIFICountryCodeSync},
    // No condition: the period counts even while no order waits.
    {"checkSpeedTestCtrl", &S::Time_CHECKSPEEDTESTCTRLSTATE, kCheckSpeedTestCtrl, nullptr,
     runSpeedTestCtrl},
    {"sendSpeedTestData", &S::Time_SENDSPEEDTESTDATA, kCheckSpeedTestData, nullptr,
     paceSpeedTestData},
    {"checkLEDstate", &S::Time_CHECKLEDSTATE, kCheckLEDState, nullptr, checkLEDstate},
    {"checkLEDCtrlList", &S::Time_CHECKLEDCTRL, kCheckLEDCtrl, nullptr, checkLEDCtrlList},
    {"checkSystemCtrlList", &S::Time_CHECKSYSTEMCTRL, kCheckSystemCtrl, nullptr,
     checkSystemCtrlList},
    {"checkResetToDefaultCtrlList", &S::Time_CHECKRESETTODEFAULTCTRL, kCheckResetToDefaultCtrl,
     nullptr, checkResetToDefaultCtrlList},
    {"checkRebootCtrlList", &S::Time_CHECKREBOOTCTRL, kCheckRebootCtrl, nullptr,
     checkRebootCtrlList},
    {"updateNetworkState", &S::Time_UPDATENETWORKSTATE, kCheckNetworkState, nullptr,
     updateNetworkState},
    {"CheckNetworkCtrlList", &S::Time_CHECKNETWORKCTRL, kCheckNetworkCtrl, nullptr,
     CheckNetworkCtrlList},
    {"checkLogFileList", &S::Time_CHECKLOGFILE, kCheckLogFile, nullptr, checkLogFileList},
    {"checkIPv6Info", &S::Time_CHECKIPv6Info, kCheckIPv6Info, nullptr, checkIPv6Info},
    {"SecurityCtrl_cleanDataToList", &S::Time_CHECKSECURITYCTRLLIST, kCheckSecurityCtrlList,
     isDefaultModel, SecurityCtrl_cleanDataToList},
    {"checkSecurityStatet", &S::Time_CHECKSECURITYSTATE, kCheckSecurityState, nullptr,
     checkSecurityStatet},
    {"checkWIFICountryCode", &S::Time_CHECKWIFICOUNTRYCODE, kCheckWIFICountryCode, nullptr,
     checkWIFICountryCode},
    {"checkLocalFWExist", &S::Time_CHECKLOCALFWEXIST, kCheckLocalFW, isLocalFWWanted,
     checkLocalFWExist},
    {"checkEthernetPortState", &S::Time_EthernetPortState, kCheckEthernetPortState, nullptr,
     checkEthernetPortState},
    {"checkDeviceSettings", &S::Time_CHECKDEVICESETTINGS, kCheckDeviceSettings, nullptr,
     checkDeviceSettings},
    {"logMeshNews", &S::Time_MESHNEWS, kCheckMeshNews, nullptr, logMeshNews},
};

consteval bool checksAreInOrder() {
    for (size_t i = 0; i < std::size(kChecks); i++) {
        if (kChecks[i].stamp != i) return false;
    }
    return std::size(kChecks) == kCheckNum;
}
static_assert(checksAreInOrder());

// Unless forced, these parts wait until more than this time has passed.
constexpr Seconds kQueryPause = 2;
constexpr Seconds kRootApPause = 10;

ControllerLoop& loop() {
    return stateOf<ControllerLoop>();
}

void runChecks(Seconds time) {
    for (const Check& check : kChecks) {
        if (check.period != nullptr &&
            time - checkTimeStamp(check.stamp) < scheduleSettings().*check.period) {
            continue;
        }
        if (check.condition != nullptr && !check.condition()) continue;
        // Set before the check runs: one that fails waits for its next period too.
        checkTimeStamp(check.stamp) = time;
        LOG(5, "%s\n", check.name);
        (void)check.run();
    }
}

// True, with the stamp set to time, if forced or after the pause.
bool restartIfDue(Seconds& stamp, Seconds time, int force, Seconds pause) {
    if (force != 1 && time - stamp <= pause) return false;
    stamp = time;
    return true;
}

// True if the device must be queried.
bool isDue(const MsgCheckConfig& record, Seconds time, int32_t period, int32_t timeout) {
    const bool again = time - record.checkTime >= period;
    const bool unanswered = record.checkFlag == 0 && time - record.timeout >= timeout;
    return again || unanswered;
}

void queryDevices(Seconds time) {
    TopolTable* topol = getNetTopolTable();
    if (topol == nullptr) return;
    struct Query {
        MacAddr alMac;
        bool conf, pwrState;
    };
    // Nothing is sent while a record is in use.
    std::vector<Query> queries;
    const S& settings = scheduleSettings();
    const auto restart = [time](MsgCheckConfig& record) {
        record.checkTime = record.timeout = time;
    };
    for (const auto& dev : topol->devs) {
        // Meant: the record named after the power state times the configuration queries, the one
        // named after the device information the power-state query.
        const bool conf =
            isDue(dev.flagPowerstate, time, settings.Time_POWERSTATE, settings.Timeout_POWERSTATE);
        const bool pwrState =
            isDue(dev.flagDeviceinfo, time, settings.Time_DEVICEINFO, settings.Timeout_DEVICEINFO);
        if (conf) restart(dev.flagPowerstate);
        if (pwrState) restart(dev.flagDeviceinfo);
        if (conf || pwrState) queries.push_back({dev.alMac, conf, pwrState});
    }
    for (const auto& query : queries) {
        if (query.conf) {
            (void)requestSendConfQueryMsg(query.alMac, 0);
            (void)requestSendConfQueryMsg2(query.alMac, 0);
        }
        if (query.pwrState) (void)requestSendIntfPwrStateQueryMsg(query.alMac, 0);
    }
}

MsgCheckConfig* recordByName(const Ieee1905DevTable& dev, std::string_view flagName) {
    if (flagName == "flag_powerstate") return &dev.flagPowerstate;
    if (flagName == "flag_deviceinfo") return &dev.flagDeviceinfo;
    return nullptr;
}

MsgCheckConfig* findRecord(const MacAddr& alMac, const char* flagName) {
    LOG(4, "alMac = " MAC_FMT "  \n", MAC_ARGS(alMac));
    LOG(4, "flagName = %s\n", flagName);
    const Ieee1905DevTable* dev = getIeee1905DevTableById(alMac);
    if (dev == nullptr) {
        LOG(4, "Not find alMac = " MAC_FMT "\n", MAC_ARGS(alMac));
        return nullptr;
    }
    MsgCheckConfig* record = recordByName(*dev, flagName);
    if (record == nullptr) LOG(4, "Not find flagName = \"%s\"\n", flagName);
    return record;
}

void logRecord(const MsgCheckConfig& record) {
    LOG(4, "msgCheckConfig->checkFlag = %d\n", record.checkFlag);
    LOG(4, "msgCheckConfig->checkTime = %d\n", static_cast<int>(record.checkTime));
    LOG(4, "msgCheckConfig->timeout   = %d\n", static_cast<int>(record.timeout));
}

}  // namespace

void MessageTransmitterLoop(Seconds time, int force) {
    // All periods are whole seconds, so nothing else can be due twice in the same second.
    if (force != 1 && time == loop().lastPass) {
        checkRenewals();
        return;
    }
    loop().lastPass = time;
    runChecks(time);
    if (restartIfDue(loop().lastQueries, time, force, kQueryPause)) queryDevices(time);
    if (!rootApMeshMacsPublished() &&
        restartIfDue(loop().lastMeshMacs, time, force, kRootApPause)) {
        publishRootApMeshMacs();
    }
    if (isRootApIpWanted() && restartIfDue(loop().lastIp, time, force, kRootApPause))
        publishRootApIp();
}

int setMessageTransmitterCheckFlag(const MacAddr& alMac, const char* flagName, int flag) {
    if (flagName == nullptr) {
        LOG_PUTS(4, "flagName NULL Error !");
        return kFailure;
    }
    if (flag != 0 && flag != 1) {
        LOG(4, "flag(%d) Error !\n", flag);
        return kFailure;
    }
    MsgCheckConfig* record = findRecord(alMac, flagName);
    if (record == nullptr) return kFailure;
    record->checkFlag = flag;
    record->timeout = flag == 1 ? now() : 0;
    logRecord(*record);
    if (flag == 0) MessageTransmitterLoop(now(), 1);
    return kOk;
}

void deviceDescribed(const MacAddr& alMac) {
    (void)setMessageTransmitterCheckFlag(alMac, "flag_deviceinfo", 0);
    (void)setMessageTransmitterCheckFlag(alMac, "flag_powerstate", 0);
}

void deviceAnswered(const MacAddr& alMac, AwaitedAnswer answer) {
    const bool conf = answer == AwaitedAnswer::kConf;
    (void)setMessageTransmitterCheckFlag(alMac, conf ? "flag_deviceinfo" : "flag_powerstate", 1);
}

int getMessageTransmitterCheck(const MacAddr& alMac, const char* flagName, MsgCheckConfig* record) {
    if (flagName == nullptr || record == nullptr) {
        LOG_PUTS(4, "Error !");
        return kFailure;
    }
    const MsgCheckConfig* found = findRecord(alMac, flagName);
    if (found == nullptr) return kFailure;
    *record = *found;
    logRecord(*record);
    return kOk;
}

int setMessageTransmitterCheck(const MacAddr& alMac, const char* flagName,
                               const MsgCheckConfig* record) {
    if (flagName == nullptr || record == nullptr) {
        LOG_PUTS(4, "Error !");
        return kFailure;
    }
    MsgCheckConfig* found = findRecord(alMac, flagName);
    if (found == nullptr) return kFailure;
    *found = *record;
    logRecord(*record);
    return kOk;
}
