// A platform library that gives scripted answers and records the actions. With fake_system.cpp, it
// also records a reboot, as the action "reboot", and what is handed to the shell.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "base/mac_addr.h"
#include "platform/autoconfig.h"
#include "platform/descriptions.h"
#include "platform/device.h"
#include "platform/lifecycle.h"
#include "platform/state.h"

struct FakeIntf {
    std::string name;
    MacAddr mac;
    uint32_t mediaType = 1;
    std::vector<uint8_t> mediaInfo{};
    std::vector<MacAddr> nbrs{};
    uint32_t pwrState = PLATFORM_PWR_ON;
    std::array<uint8_t, 3> oui{};
    std::vector<uint8_t> vendInfo{};
    std::vector<LinkDesc> links{};  // next is not read
};

struct FakePlatform {
    MacAddr alMac{0x02, 0x19, 0x05, 0x00, 0x00, 0x01};
    std::vector<FakeIntf> intfs{{"eth0", {0x02, 0x19, 0x05, 0x00, 0x01, 0x00}},
                                {"eth1", {0x02, 0x19, 0x05, 0x00, 0x01, 0x01}}};
    std::vector<std::vector<MacAddr>> brdgTuples;
    uint32_t securityMode = 0;
    std::vector<uint8_t> security;
    std::set<std::string> excludedIntfs;
    unsigned linkMetricCalls = 0;
    std::string hostname = "test-device";

    WpsConfig wps{};
    std::map<uint8_t, WpsBandConfig> wpsBands;
    std::map<MacAddr, std::array<uint8_t, 2>> wpsSyncList;
    std::array<MacAddr, 2> wpsSyncMac;  // by band
    std::set<MacAddr> notApproved;
    int sendRenewFlag = 0, changeTimeoutFlag = 0;

    uint32_t fwStatus = PLATFORM_FW_IDLE;
    std::string fwUrl = "ftp://192.0.2.1/", fwFileName = "fw.bin";
    std::vector<WifiStation> stations;  // next is not read
    std::string wifiStateSync, wifiChannelSync, speedTestData;
    bool speedTestRunning = false;
    int speedTestTimeout = 60, speedTestCtrlFlag = 1;
    std::map<MacAddr, std::vector<uint8_t>> beaconReports;

    std::string deviceIP, deviceUptime, daisychainOption, ethernetPortState, backhaulType;
    std::string countryCode, wifiCountryCode;
    IPv6Info ipv6{};
    LedState led{};
    SecurityState securityState{};
    uint8_t configure = 0;  // 0: getConfigureState fails
    NetworkState networkState{};
    WifiChannels wifiChannels{};
    AutoConfTimes apAutoconfigTimes{};

    // Functions that return kFailure or another result.
    std::set<std::string> fail;
    std::map<std::string, int> results;
    // All actions in order: "setIntfPwrStateById 02:19:05:00:01:00 1 2". Getters are not recorded.
    std::vector<std::string> calls;
    std::vector<std::string> commands;  // handed to the shell, in order
    std::function<void()> onCommand;    // called by every command
    std::function<void()> onAction;     // called by every action, after it was recorded

    NetStatusEventCallback netStatusCallback = nullptr;
    ServReqCallback servReqCallback = nullptr;

    // Call the registered callback and return its result.
    uint32_t raiseNetStatus(uint32_t eventId, const void* info) const {
        uint32_t result = 0xFFFF;
        netStatusCallback(eventId, info, &result);
        return result;
    }
    uint32_t raiseServReq(uint32_t servId, void* info) const {
        uint32_t result = 0xFFFF;
        servReqCallback(servId, info, &result);
        return result;
    }
    // True if an action that begins like this was recorded.
    bool called(const std::string& beginning) const {
        return std::ranges::any_of(calls, [&](auto& call) { return call.starts_with(beginning); });
    }
};

// Of the device in use (test_device.h).
FakePlatform& fakePlatform();

// Owner of descriptions in the form that an event carries.
class FakeIntfDescs {
  public:
    explicit FakeIntfDescs(const std::vector<FakeIntf>& intfs);
    ~FakeIntfDescs();
    FakeIntfDescs(const FakeIntfDescs&) = delete;
    FakeIntfDescs& operator=(const FakeIntfDescs&) = delete;

    IntfDesc* head() const { return list_.head; }
    IntfListEvent event() const { return {list_.intfNum, list_.head}; }

  private:
    IntfDescList list_;
};
