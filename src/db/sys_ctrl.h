// The system control record: state of the daemon, its options, its identity and its one alarm.
#pragma once

#include <sys/types.h>
#include <unistd.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/clock.h"
#include "base/mac_addr.h"
#include "base/text.h"

enum SysState : uint32_t { kStopped = 0, kStarting = 1, kRunning = 2 };

// The devices that may give orders.
struct OrdersFrom {
    enum Who : uint8_t { kAny, kRegistrar, kListed } who = kAny;
    std::vector<MacAddr> listed{};
};

struct SysConfig {
    uint8_t debugLevel = 3;
    uint32_t enableNetTopol = 1;
    uint16_t maxChangeLogEntries = 256;
    uint32_t enableRebootFromNbr = 1;
    uint32_t enableIntfPwrCtrlFromNbr = 1;
    Text<32> dataModelFolder{std::string_view("/tmp")};
    uint32_t enableLog = 0;
    Text<32> logFolder{std::string_view("/etc/vm1905")};
    uint8_t logIndex = 0;
    bool logTimeIsIso = false;
    uint32_t readLldp = 0;
    uint32_t standard1905 = 0;
    uint32_t enableResetFromNbr = 1;
    uint32_t enableFirmwareFromNbr = 1;
    uint32_t enableNetworkFromNbr = 1;
    uint32_t enableSystemFromNbr = 1;
    uint32_t enableWifiFromNbr = 1;
    OrdersFrom ordersFrom{};
    bool controlFilesOfOwner = false;
    Text<128> meshKey{};  // paths; empty if there is none
    Text<128> meshKeyNext{};
    std::optional<gid_t> channelGroup{};
    mode_t channelMode = 0666;
    std::optional<mode_t> dataModelMode{};
    Text<128> webFolder{};  // empty: no copies of the JSON files
    std::optional<gid_t> webGroup{};
    std::optional<bool> confine = false;  // empty: the file has neither 0 nor 1
    Text<64> runAs{};                     // a user; empty: the one that started the daemon
    uint32_t excludeDefaultRoute = 0;
};

struct SysIdentity {
    Text<128> firmwareVersion;
    Text<128> hostname;
    Text<32> deviceMode;
    Text<32> releaseVersion;
    Text<32> releaseVersionGit;
    Text<32> appVersion;
    Text<32> l2DeviveCtrlVersion;
    Text<32> wifiAutoCfgVersion;
    Text<32> wifiOnOffVersion;
    Text<32> fwUpgradeVersion;
    Text<32> ledOnOffVersion;
    Text<32> dsiVersion;
    Text<32> vm1905Version;
    Text<32> buildNumber;
    MacAddr lanMac;
};

struct SysCtrl {
    uid_t user = geteuid();  // that the daemon runs as after its start
    Text<32> g_conf_folder{std::string_view("/etc/vm1905")};
    Text<32> DeviceModelType;
    uint32_t state = kStopped;
    Seconds lastNetCtrlRun = 0;
    SysConfig config;
    SysIdentity identity;
    Seconds discAlarmTime = 0;  // when the alarm goes off; 0 or less: not armed
    int (*discAlarmHandler)() = nullptr;
};

// The record of the device in use.
SysCtrl& getSysCtrl();

// The state of the daemon (SysState).
uint32_t getSysState();
void setSysState(uint32_t state);

// Sets the name of the device model (option -m), cut to 31 characters.
void setDeviceModelType(std::string_view name);
// 0 if the name is empty or "0", else 1. Some periodic checks run only for 0.
int getDeviceModelType();
