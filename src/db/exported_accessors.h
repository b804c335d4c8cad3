// Accessors that the daemon itself does not call. It exports them, like all its functions, under
// given names for the platform library of a product.
//
// A returned record is nullptr if there is no such entry, and stays valid until its table changes.
// Indexes count from 0. Texts are NUL-terminated; they stay valid, but their content changes when
// the option or identity is read again.
#pragma once

#include <cstdint>
#include <vector>

#include "db/records.h"

// The own device.
const std::vector<uint8_t>& getAlVendInfo();  // empty without a database
uint32_t getAlOperStatus();                   // 0 without a database
// The index-th neighbor of an interface: of all, of the 1905 or of the other neighbors.
IntfNbrDev* getIntfNbrDevByIndex(IntfTable& intf, unsigned index);
IntfNbrDev* getIntf1905NbrDevByIndex(IntfTable& intf, unsigned index);
IntfNbrDev* getIntfNon1905NbrDevByIndex(IntfTable& intf, unsigned index);
FwdRule* getFwdRuleTableByIndex(unsigned index);
FwdRule* getFwdRuleTableByRuleId(uint16_t ruleId);

// Remote devices, and the index-th interface, neighbor list or bridging tuple of one.
Ieee1905DevTable* getIeee1905DevTableByIndex(unsigned index);
DevIntf* getIeee1905DevIntfTableByIndex(Ieee1905DevTable& dev, unsigned index);
Non1905NbrList* getNon1905NbrDevByIndex(Ieee1905DevTable& dev, unsigned index);
Ieee1905NbrList* getIeee1905NbrDevByIndex(Ieee1905DevTable& dev, unsigned index);
BrdgTuple* getBrdgTupleTableByIndex(Ieee1905DevTable& dev, unsigned index);
// Removes all remote devices without logging their loss.
void destroyIeee1905DevTable();

// Options, versions and identity, as read at start-up.
uint16_t getMaxChangeLogEntriesOption();
const char* getLogFolderOption();
const char* sys_getFirmwareversionOption();
const char* sys_getDevicehostname();
const char* sys_getDeviceBuildNumber();
const char* sys_getDevicemode();
const char* sys_getReleaseVersion();
const char* sys_getReleaseVersion_git();
const char* sys_getAppVersion();
const char* sys_getL2DeviveCtrlVersion();
const char* sys_getWiFiAutoCfgVersion();
const char* sys_getWiFiOnOffVersion();
const char* sys_getFwUpgradeVersion();
const char* sys_getLEDOnOffVersion();
const char* sys_getDSIVersion();
const char* sys_getvm1905VersionVersion();
int sys_getDeviceLANMac(MacAddr& mac);  // sets mac; kOk
