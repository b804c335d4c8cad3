#include "db/data_manager.h"

#include <memory>

#include "base/log.h"
#include "base/result.h"
#include "db/change_log.h"
#include "db/local_tables.h"
#include "db/options.h"
#include "db/requests.h"

namespace {

// The system's own OUI.
constexpr std::array<uint8_t, 3> kOui{0x0A, 0x3C, 0x71};

std::unique_ptr<AlTable> al_table;

template <typename List>
auto* entryAt(List& list, size_t index) {
    auto it = list.begin();
    std::advance(it, static_cast<std::ptrdiff_t>(index));
    return &*it;
}

// The index-th entry of those that the predicate selects.
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

int retrieveAlTable() {
    AlDesc desc{};
    if (const int result = getAlDesc(&desc); result != 0) {
        LOG_PUTS(1, "failed to retrieve AL decription\r");
        return result;
    }
    AlTable& al = *al_table;
    al.alMac = MacAddr(desc.alMac);
    al.oui = kOui;
    if (desc.vendInfo != nullptr) {
        al.vendInfo.assign(desc.vendInfo, desc.vendInfo + desc.vendInfoLen);
        free(desc.vendInfo);
    }
    al.enableRebootFromNbr = static_cast<uint8_t>(getEnableRebootFromNbrOption());
    al.enableIntfPwrCtrlFromNbr = static_cast<uint8_t>(getEnableIntfPwrCtrlFromNbrOption());
    al.firmwareVersion = sys_getFirmwareversionOption();
    al.hostname = sys_getDevicehostname();
    al.deviceMode = sys_getDevicemode();
    al.releaseVersion = sys_getReleaseVersion();
    al.releaseVersionGit = sys_getReleaseVersion_git();
    al.info.appVersion = sys_getAppVersion();
    al.info.l2DeviveCtrlVersion = sys_getL2DeviveCtrlVersion();
    al.info.wifiAutoCfgVersion = sys_getWiFiAutoCfgVersion();
    al.info.wifiOnOffVersion = sys_getWiFiOnOffVersion();
    al.info.fwUpgradeVersion = sys_getFwUpgradeVersion();
    al.info.ledOnOffVersion = sys_getLEDOnOffVersion();
    al.info.dsiVersion = sys_getDSIVersion();
    al.info.vm1905Version = sys_getvm1905VersionVersion();
    al.buildNumber = sys_getDeviceBuildNumber();
    MacAddr lanMac;
    (void)sys_getDeviceLANMac(lanMac);
    al.lanMac = macText(lanMac);
    return kOk;
}

int retrieveSecTable() {
    SecurityDesc desc{};
    if (const int result = getSecurityConfig(&desc); result != 0) {
        LOG_PUTS(1, "failed to retrieve security configuration\r");
        return result;
    }
    al_table->security.mode = desc.mode;
    if (desc.value != nullptr) {
        al_table->security.value.assign(desc.value, desc.value + desc.len);
        free(desc.value);
    }
    return kOk;
}

int retrieveTables() {
    if (const int result = retrieveAlTable(); result != kOk) return result;
    if (const int result = retrieveIntfTable(*al_table); result != kOk) return result;
    if (const int result = retrieveBrdgTupleTable(*al_table); result != kOk) return result;
    return retrieveSecTable();
}

}  // namespace

int initDataManager() {
    LOG_PUTS(4, "retrieve data model\r");
    al_table = std::make_unique<AlTable>();
    al_table->lastChange = now();
    if (const int result = retrieveTables(); result != kOk) {
        al_table.reset();
        return result;
    }
    al_table->topol.enable = getEnableNetTopolOption();
    al_table->topol.maxChangeLogEntries = getMaxChangeLogEntriesOption();
    optionHooks() = {enableNetTopol, disableNetTopol, setAlTableConfValue, setChangeLogMaxEntries};
    return requestUpdateDataModel(0);
}

int destroyDataManager() {
    optionHooks() = {};
    al_table.reset();
    return kOk;
}

AlTable* getAlTable() {
    return al_table.get();
}

const MacAddr* getAlMac() {
    return al_table ? &al_table->alMac : nullptr;
}

bool isOwnAlMac(const MacAddr& alMac) {
    return al_table && alMac == al_table->alMac;
}

const uint8_t* getAlOui() {
    return al_table ? al_table->oui.data() : nullptr;
}

const std::vector<uint8_t>& getAlVendInfo() {
    static const std::vector<uint8_t> none;
    return al_table ? al_table->vendInfo : none;
}

uint32_t getAlOperStatus() {
    return al_table ? al_table->operStatus : 0;
}

uint32_t getNetTopolCap() {
    return al_table ? al_table->topol.enable : 0;
}

uint32_t getNetTopolStatus() {
    return al_table ? al_table->topol.status : 0;
}

TopolTable* getNetTopolTable() {
    return al_table ? &al_table->topol : nullptr;
}

std::list<IntfTable>& getIntfTable() {
    static std::list<IntfTable> none;
    return al_table ? al_table->intfs : none;
}

uint8_t getIntfNum() {
    if (!al_table) return 0;
    uint8_t num = 0;
    if (getIntfmatchNum(&num) == 0) al_table->intfNum = num;
    return al_table->intfNum;
}

IntfTable* getIntfTableByIndex(unsigned index) {
    const unsigned bound = al_table ? al_table->intfNum : 0;
    if (index >= bound) {
        LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
        return nullptr;
    }
    return index < al_table->intfs.size() ? entryAt(al_table->intfs, index) : nullptr;
}

IntfTable* getIntfTableById(const MacAddr& mac, uint32_t mediaType) {
    for (auto& intf : getIntfTable()) {
        if (intf.mac == mac && intf.mediaType == mediaType) return &intf;
    }
    LOG(2, "failed to get interface table by ID (" MAC_FMT ")\r\n", MAC_ARGS(mac));
    return nullptr;
}

IntfTable* getIntfTableByName(std::string_view name) {
    for (auto& intf : getIntfTable()) {
        if (intf.name == name) return &intf;
    }
    return nullptr;
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

IntfNbrDev* getIntfNbrDevByMac(IntfTable& intf, const MacAddr& nbrIntfMac) {
    for (auto& nbr : intf.nbrs) {
        if (nbr.nbrIntfMac == nbrIntfMac) return &nbr;
    }
    return nullptr;
}

uint8_t getBrdgTupleNum() {
    return al_table ? static_cast<uint8_t>(al_table->brdgTuples.size()) : 0;
}

BrdgTuple* getBrdgTupleByIndex(unsigned index) {
    const unsigned bound = getBrdgTupleNum();
    if (index < bound) return &al_table->brdgTuples[index];
    LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
    return nullptr;
}

FwdRule* getFwdRuleTableByIndex(unsigned index) {
    const size_t bound = al_table ? al_table->fwdRules.size() : 0;
    if (index < bound) return &al_table->fwdRules[index];
    LOG(2, "invalid index (%d/%d)\r\n", static_cast<int>(index), static_cast<int>(bound));
    return nullptr;
}

FwdRule* getFwdRuleTableByRuleId(uint16_t ruleId) {
    if (al_table) {
        for (auto& rule : al_table->fwdRules) {
            if (rule.ruleId == ruleId) return &rule;
        }
    }
    LOG(2, "invalid ruleId = %d\r\n", ruleId);
    return nullptr;
}

SecurityTable* getSecurityTable() {
    if (al_table) return &al_table->security;
    LOG_PUTS(2, "al_table is NULL\r");
    return nullptr;
}

std::vector<NbrDev>& getNbrDevTable() {
    static std::vector<NbrDev> none;
    return al_table ? al_table->nbrDevs : none;
}

uint8_t getNbrDevNum() {
    return static_cast<uint8_t>(getNbrDevTable().size());
}

NbrDev* getNbrDevTableByIndex(unsigned index) {
    auto& devs = getNbrDevTable();
    const uint8_t at = static_cast<uint8_t>(index);
    return at < devs.size() ? &devs[at] : nullptr;
}

int setAlTableConfValue(int key, int len, const void* value) {
    if (!al_table || value == nullptr || len < 1) return kFailure;
    const uint8_t first = *static_cast<const uint8_t*>(value);
    switch (key) {
        case 0:
            al_table->enableRebootFromNbr = first;
            return kOk;
        case 1:
            al_table->enableIntfPwrCtrlFromNbr = first;
            return kOk;
        default:
            return kFailure;
    }
}

int enableNetTopol() {
    if (al_table) al_table->topol.enable = 1;
    return requestUpdateDataModel(0);
}

int disableNetTopol() {
    if (al_table) al_table->topol.enable = 0;
    return requestUpdateDataModel(0);
}

int setNetTopolStatus(uint32_t status) {
    LOG(4, "status = %d\r\n", static_cast<int>(status));
    if (!al_table || al_table->topol.status == status) return kOk;
    al_table->topol.status = status;
    return requestUpdateDataModel(0);
}
