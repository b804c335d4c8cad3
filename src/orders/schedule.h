// The schedule of the periodic controller loop: its settings, and when each check last ran.
#pragma once

#include <array>
#include <cstdint>

#include "base/clock.h"

// Time_... and Timeout_... are seconds, ..._LoopCount are numbers of repetitions.
struct ScheduleSettings {
    int32_t SendWIFIClientInfo_flag = 1;  // 1: report Wi-Fi clients
    int32_t Time_SENDWIFICLIENTINFO = 2;
    int32_t Time_RESENDRENEWBYSYNCLIST = 1;
    int32_t Time_CHECKWIFICHANNELINFO = 5;
    int32_t Time_CHECKWIFICHANNELSYNC = 30;
    int32_t Time_CHECKWIFISTATESYNC = 30;
    int32_t WIFISync_LoopCount = 4;
    int32_t Time_CHECKSPEEDTESTCTRLSTATE = 1;
    int32_t SpeedTestCtrl_LoopCount = 10;
    int32_t Time_SENDSPEEDTESTDATA = 1;
    int32_t Time_CHECKLEDSTATE = 20;
    int32_t Time_CHECKLEDCTRL = 5;
    int32_t LEDCtrl_LoopCount = 12;
    int32_t Time_CHECKSYSTEMCTRL = 5;
    int32_t SystemCtrl_LoopCount = 4;
    int32_t Time_CHECKRESETTODEFAULTCTRL = 2;
    int32_t ResetToDefaultCtrl_LoopCount = 10;
    int32_t Time_CHECKREBOOTCTRL = 2;
    int32_t RebootCtrl_LoopCount = 4;
    int32_t DaisychainCtrl_LoopCount = 4;
    int32_t KickwificlientCtrl_LoopCount = 6;
    int32_t Time_UPDATENETWORKSTATE = 10;
    int32_t Time_CHECKNETWORKCTRL = 15;
    int32_t NetworkCtrl_LoopCount = 4;
    int32_t Time_CHECKLOGFILE = 5;
    int32_t LogFile_LoopCount = 4;
    int32_t Time_CHECKIPv6Info = 60;
    int32_t Time_CHECKSECURITYCTRLLIST = 3;
    int32_t Time_CHECKSECURITYSTATE = 60;
    int32_t Time_CHECKWIFICOUNTRYCODE = 60;
    int32_t Time_CHECKLOCALFWEXIST = 20;  // 0: never
    int32_t Time_EthernetPortState = 30;
    int32_t Time_CHECKDEVICESETTINGS = 30;
    int32_t Time_MESHNEWS = 5;
    int32_t Time_POWERSTATE = 30;
    int32_t Timeout_POWERSTATE = 3;
    int32_t Time_DEVICEINFO = 30;
    int32_t Timeout_DEVICEINFO = 3;

    // No check uses these.
    int32_t Time_CHECKDAISYCHAINCTRL = 2;
    int32_t Time_CHECKKICKWIFICLIENTCTRL = 10;
    int32_t Time_CHECKDAISYCHAINOPTIONSYNC = 30;
    int32_t Time_CHECKAPAUTOCONFIG = 15;
    int32_t Time_CHECKCONFIGURE = 10;
    int32_t Time_CHECKBACKHAULTYPE = 10;
    int32_t Time_CHECKSECURITYIDENTIFICATION = 15;
};

// The current settings. Assign to a member to change it.
ScheduleSettings& scheduleSettings();

// The periodic checks, in the order of a pass.
enum CheckId : uint8_t {
    kCheckWIFIClientInfo,
    kCheckRenewBySynclist,
    kCheckRenewals,
    kCheckWIFIChannelInfo,
    kCheckWIFIChannelSync,
    kCheckWIFIStateSync,
    kCheckWIFICountryCodeSync,
    kCheckSpeedTestCtrl,
    kCheckSpeedTestData,
    kCheckLEDState,
    kCheckLEDCtrl,
    kCheckSystemCtrl,
    kCheckResetToDefaultCtrl,
    kCheckRebootCtrl,
    kCheckNetworkState,
    kCheckNetworkCtrl,
    kCheckLogFile,
    kCheckIPv6Info,
    kCheckSecurityCtrlList,
    kCheckSecurityState,
    kCheckWIFICountryCode,
    kCheckLocalFW,
    kCheckEthernetPortState,
    kCheckDeviceSettings,
    kCheckMeshNews,
    kCheckNum
};

struct Schedule {
    ScheduleSettings settings;
    std::array<Seconds, kCheckNum> stamps{};
};

// The time at which the check last ran, 0 before its first run. Setting it to now() delays the
// check by a full period.
Seconds& checkTimeStamp(CheckId check);
