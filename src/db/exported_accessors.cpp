#include "db/exported_accessors.h"

#include "base/log.h"
#include "base/result.h"
#include "base/state.h"
#include "db/database.h"
#include "db/sys_ctrl.h"

namespace {

const SysIdentity& identity() {
    return getSysCtrl().identity;
}

template <typename List>
auto* entryAt(List& list, unsigned index) {
    return index < list.size() ? &list[index] : nullptr;
}

// The index-th of the neighbors that the predicate selects; bound is their number. The log line of
// a bad index names the caller.
template <typename Pred>
IntfNbrDev* nbrAt(IntfTable& intf, unsigned index, size_t bound, Pred selects, const char* caller,
                  int line) {
    if (index < bound) {
        for (auto& nbr : intf.nbrs) {
            if (selects(nbr) && index-- == 0) return &nbr;
        }
    }
    if (DEBUGLEVEL >= 2) {
        logLine(2, caller, line, "invalid index (%d/%d)\r\n", static_cast<int>(index),
                static_cast<int>(bound));
    }
    return nullptr;
}

}  // namespace

const std::vector<uint8_t>& getAlVendInfo() {
    return getAlTable() != nullptr ? getAlTable()->vendInfo : stateOf<Database>().noVendInfo;
}

uint32_t getAlOperStatus() {
    return getAlTable() != nullptr ? getAlTable()->operStatus : 0;
}

IntfNbrDev* getIntfNbrDevByIndex(IntfTable& intf, unsigned index) {
    return nbrAt(
        intf, index, intf.nbrs.size(), [](const auto&) { return true; }, __func__, __LINE__);
}

IntfNbrDev* getIntf1905NbrDevByIndex(IntfTable& intf, unsigned index) {
    return nbrAt(
        intf, index, intf.nbr1905Num(), [](const auto& nbr) { return nbr.is1905; }, __func__,
        __LINE__);
}

IntfNbrDev* getIntfNon1905NbrDevByIndex(IntfTable& intf, unsigned index) {
    return nbrAt(
        intf, index, intf.nbrNon1905Num(), [](const auto& nbr) { return !nbr.is1905; }, __func__,
        __LINE__);
}

FwdRule* getFwdRuleTableByIndex(unsigned index) {
    const size_t bound = getAlTable() != nullptr ? getAlTable()->fwdRules.size() : 0;
    if (index < bound) return &getAlTable()->fwdRules[index];
    LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
    return nullptr;
}

FwdRule* getFwdRuleTableByRuleId(uint16_t ruleId) {
    if (getAlTable() != nullptr) {
        for (auto& rule : getAlTable()->fwdRules) {
            if (rule.ruleId == ruleId) return &rule;
        }
    }
    LOG(2, "invalid ruleId = %d\r\n", ruleId);
    return nullptr;
}

void destroyIeee1905DevTable() {
    getIeee1905DevTables().clear();
}

Ieee1905DevTable* getIeee1905DevTableByIndex(unsigned index) {
    auto& devs = getIeee1905DevTables();
    if (devs.empty()) {
        LOG_PUTS(3, "Ieee1905DevTable is empty\r");
        return nullptr;
    }
    if (index >= devs.size()) {
        LOG(3, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(devs.size()));
        return nullptr;
    }
    noteTopologyChange();  // the caller may change anything
    return &devs.edit(*std::next(devs.begin(), static_cast<std::ptrdiff_t>(index)));
}

DevIntf* getIeee1905DevIntfTableByIndex(Ieee1905DevTable& dev, unsigned index) {
    LOG(4, "index = %d\r\n", static_cast<int>(index));
    return entryAt(dev.intfs, index);
}

Non1905NbrList* getNon1905NbrDevByIndex(Ieee1905DevTable& dev, unsigned index) {
    LOG(4, "index = %d\r\n", static_cast<int>(index));
    return entryAt(dev.non1905Lists, index);
}

Ieee1905NbrList* getIeee1905NbrDevByIndex(Ieee1905DevTable& dev, unsigned index) {
    LOG(4, "index = %d\r\n", static_cast<int>(index));
    return entryAt(dev.ieee1905Lists, index);
}

BrdgTuple* getBrdgTupleTableByIndex(Ieee1905DevTable& dev, unsigned index) {
    LOG(4, "index=%d\r\n", static_cast<int>(index));
    return entryAt(dev.brdgTuples, index);
}

uint16_t getMaxChangeLogEntriesOption() {
    return getSysCtrl().config.maxChangeLogEntries;
}

const char* getLogFolderOption() {
    return getSysCtrl().config.logFolder.c_str();
}

const char* sys_getFirmwareversionOption() {
    return identity().firmwareVersion.c_str();
}

const char* sys_getDevicehostname() {
    return identity().hostname.c_str();
}

const char* sys_getDeviceBuildNumber() {
    return identity().buildNumber.c_str();
}

const char* sys_getDevicemode() {
    return identity().deviceMode.c_str();
}

const char* sys_getReleaseVersion() {
    return identity().releaseVersion.c_str();
}

const char* sys_getReleaseVersion_git() {
    return identity().releaseVersionGit.c_str();
}

const char* sys_getAppVersion() {
    return identity().appVersion.c_str();
}

const char* sys_getL2DeviveCtrlVersion() {
    return identity().l2DeviveCtrlVersion.c_str();
}

const char* sys_getWiFiAutoCfgVersion() {
    return identity().wifiAutoCfgVersion.c_str();
}

const char* sys_getWiFiOnOffVersion() {
    return identity().wifiOnOffVersion.c_str();
}

const char* sys_getFwUpgradeVersion() {
    return identity().fwUpgradeVersion.c_str();
}

const char* sys_getLEDOnOffVersion() {
    return identity().ledOnOffVersion.c_str();
}

const char* sys_getDSIVersion() {
    return identity().dsiVersion.c_str();
}

const char* sys_getvm1905VersionVersion() {
    return identity().vm1905Version.c_str();
}

int sys_getDeviceLANMac(MacAddr& mac) {
    mac = identity().lanMac;
    return kOk;
}
