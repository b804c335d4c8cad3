// The numbers of the services that local processes may ask for. The data answer to a service has
// the next higher number, see answerId. The client library and the command line share this header,
// so it includes nothing else of the daemon.
#pragma once

#include <cstdint>

enum ServId : uint16_t {
    // Records of the database.
    kServGetOwnDev = 0,
    kServGetIntf = 2,
    kServGetIntfVendProp = 4,
    kServGetIntfPwrState = 6,
    kServSetIntfPwrState = 8,
    kServGetLinkNum = 10,
    kServGetLinkMetric = 12,
    kServGetFwdRuleNum = 18,
    kServGetFwdRule = 20,
    kServAddFwdRule = 22,
    kServModifyFwdRule = 24,
    kServRemoveFwdRule = 26,
    kServGetTopol = 28,
    kServGetChangeLog = 30,
    kServSetChangeLogMax = 32,
    kServGetDev = 34,
    kServGetDevIntf = 36,
    kServGetDevNon1905Nbrs = 38,
    kServGetDev1905Nbrs = 40,
    kServGetDevBrdgTuple = 42,
    kServGetSecurity = 44,
    kServSetSecurity = 46,
    // Configuration of this device and of another.
    kServGetOption = 128,
    kServSetOption = 130,
    kServGetDevOption = 132,
    // Orders to other devices and actions of this one.
    kServReboot = 134,
    kServIntfPwrCtrl = 136,
    kServSetWps = 138,
    kServGetWps = 140,
    kServSendRenew = 141,
    kServWpsCtrl = 143,
    kServAPSteering = 145,
    kServFWCtrl = 147,
    kServResetToDefault = 149,
    kServSetFWResult = 151,
    kServPushButton = 153,
    kServReopenPorts = 155,
    kServWriteChangeLog = 157,
    kServSendCommand = 159,
    kServLEDCtrl = 161,
    kServSetWpsTimeout = 163,
    kServSetApprove = 165,
    kServSetDebugLevel = 167,
    kServSendSearch = 169,
    kServWifiReload = 171,
    kServSetFWState = 177,
    kServSpeedTest = 179,
    kServWifiStateSearch = 181,
    kServWifiStateRenew = 183,
    kServSendDiscovery = 185,
    kServRequestLogFile = 187,
    kServSetWpsByBand = 189,
    kServWifiStateAction = 191,
    kServNetworkCtrl = 197,
    kServRawSend = 200,
    kServSendBcnRpt = 202,
    kServGetBcnRpt = 204,
    kServSendBTM = 206,
    kServAddBlacklist = 208,
    kServRemoveBlacklist = 210,
    kServWifiSyncAll = 212,
    kServSystemCtrl = 214,
    kServUpdateExtenderConf = 216,
    kServPing = 218,

    kServRetCode = 254,  // an answer that is only a return code
    kServNone = 255,     // in a slot after initialization
};

// The number of the data answer to a request.
constexpr uint16_t answerId(ServId request) {
    return static_cast<uint16_t>(request + 1);
}
