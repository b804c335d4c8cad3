// The state that one device's platform reports reaches the other device's data model.
#include <gtest/gtest.h>

#include <cstdio>
#include <set>

#include "db/own_state.h"
#include "sim/mesh.h"
#include "sim/picture.h"
#include "support/fake_platform.h"

namespace {

using namespace sim;

// Gives every member a value of its own.
void fillAll() {
    FakePlatform& platform = fakePlatform();
    platform.intfs.at(0).pwrState = PLATFORM_PWR_SAVE;
    platform.wps.deviceType = 1;
    platform.wpsBands = {{0, {0, 1}}, {1, {1, 0}}, {32, {1, 1}}, {33, {0, 0}}};
    platform.fwStatus = PLATFORM_FW_BUSY;
    platform.deviceIP = "192.0.2.7";
    platform.deviceUptime = "4711";
    platform.led = {"blue", "70"};
    platform.securityState = {"on", "off"};
    platform.configure = 1;
    platform.daisychainOption = "chain";
    platform.networkState = {1, 3};
    platform.ethernetPortState = "\"eth0:1000\"";
    platform.backhaulType = "Ethernet";
    platform.countryCode = "DE";
    platform.wifiCountryCode = "AT";
    platform.wifiChannels = {"6", "36", "100"};
    platform.ipv6 = {2, {"fd00::7", "fe80::7"}};
    for (size_t i = 0; i < PLATFORM_AUTOCONF_TIMES; i++) {
        snprintf(platform.apAutoconfigTimes.time[i], PLATFORM_AUTOCONF_TIME_LEN, "t%zu", i);
    }
}

TEST(VendorMesh, EveryMemberReachesTheOtherDevice) {
    Mesh mesh;
    const Device registrar = mesh.addDevice("registrar");
    const Device enrollee = mesh.addDevice(
        "enrollee", {.versions = "AppVersion=1.5\nL2DeviveCtrl=1\nWiFiAutoCfg=2\nWiFiOnOff=3\n"
                                 "FwUpgrade=1502\nLEDOnOff=5\nDSI=6\nvm1905Version=7\n",
                     .prepare = fillAll});
    mesh.cable(registrar, "eth0", enrollee, "eth0");
    mesh.run();
    mesh.in(enrollee, updateWPSConfig);
    mesh.run(75);
    const Json dev = remotes(mesh.jsonNow(registrar)).at(mesh.alMac(enrollee));
    const Json wanted = Json::parse(R"({
        "FirmwareState": "Busy", "FirmwareVersion": "1.0.0", "Hostname": "enrollee",
        "DeviceIP": "192.0.2.7", "IPv6IP": ["fd00::7", "fe80::7"],
        "DeviceLANMac": "02:19:05:00:00:aa", "DeviceMode": "router", "DeviceType": "Enrollee",
        "ReleaseVersion": "WIFISYS_RTK_9.2", "BuildNumber": "42", "DeviceUptime": "4711",
        "LEDstatus": "blue", "LEDBrightness": "70", "DaisychainOption": "chain",
        "NetworkState_dnsmasq": "1", "NetworkState_IntfInBridge": "3", "Configure": "Configure",
        "SSHState": "on", "TelnetState": "off", "CountryCode": "DE", "WIFICountryCode": "AT",
        "WIFI24GChannel": "6", "WIFI5GChannel": "36", "WIFI5G2Channel": "100",
        "Backhaultype": "Ethernet", "EthernetPortState": ["eth0:1000"],
        "AppVersion": {"Version": "1.5", "L2DeviceCtrl": 1, "WiFiAutoCfg": 2, "WiFiOnOff": 3,
                       "FwUpgrade": 1502, "LEDOnOff": 5, "vm1905Version": 7}})");
    for (const auto& [key, value] : wanted.items()) EXPECT_EQ(dev.at(key), value) << key;
    EXPECT_EQ(dev.at("Interface.1").at("InterfaceName"), "eth0");
    EXPECT_EQ(dev.at("Interface.1").at("PowerState"), "Power_Save");

    const Json file = mesh.json(registrar, "vm1905_APautoconfig.json");
    const Json& state = file.at("NetworkTopology").at("IEEE1905Device.1");
    const Json bands = Json::parse(R"({
        "AP-autoconfig_Main24G": [0, 1], "AP-autoconfig_Main5G": [1, 0],
        "AP-autoconfig_Guest24G": [1, 1], "AP-autoconfig_Guest5G": [0, 0],
        "Main24G_time": "t0", "Backhaul5G2ST_time": "t11"})");
    for (const auto& [key, value] : bands.items()) EXPECT_EQ(state.at(key), value) << key;
    std::set<std::string> times;
    for (const auto& [key, value] : state.items()) {
        if (key.ends_with("_time")) times.insert(value);
    }
    EXPECT_EQ(times.size(), 12U) << "all different";
}

// Each message arrives twice, and each of its answers twice.
TEST(VendorMesh, OrdersAreObeyedOnceOverTwoCables) {
    Mesh mesh;
    const DeviceOptions options{.intfs = {"eth0", "eth1"}};
    const Device registrar = mesh.addDevice("registrar", options);
    const Device enrollee = mesh.addDevice("enrollee", options);
    for (const auto* intf : {"eth0", "eth1"}) mesh.cable(registrar, intf, enrollee, intf);
    mesh.run();
    int obeyed = 0;
    mesh.in(enrollee, [&] {
        fakePlatform().wps.deviceType = 1;
        // A text that was applied is refused from then on.
        fakePlatform().onAction = [&obeyed] {
            if (!fakePlatform().calls.back().starts_with("parseWIFIStateSyncdata")) return;
            fakePlatform().results["parseWIFIStateSyncdata"] = obeyed++ == 0 ? 0 : 16;
        };
        return updateWPSConfig();
    });
    mesh.in(registrar, [] { fakePlatform().wifiStateSync = "ssid"; });
    mesh.run(225);
    EXPECT_EQ(obeyed, 1);
}

}  // namespace
