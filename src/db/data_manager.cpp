#include "db/data_manager.h"

#include <cstdlib>

#include "base/log.h"
#include "base/result.h"
#include "db/data_model_update.h"
#include "db/database.h"
#include "db/local_tables.h"
#include "db/sys_ctrl.h"
#include "platform/descriptions.h"

namespace {

// The OUI of this family of devices.
constexpr std::array<uint8_t, 3> kOui{0x0A, 0x3C, 0x71};

int retrieveAlTable(AlTable& al) {
    AlDesc desc{};
    if (const int result = getAlDesc(&desc); result != 0) {
        LOG_PUTS(1, "failed to retrieve AL decription\r");
        return result;
    }
    al.alMac = MacAddr(desc.alMac);
    al.oui = kOui;
    if (desc.vendInfo != nullptr) {
        al.vendInfo.assign(desc.vendInfo, desc.vendInfo + desc.vendInfoLen);
        free(desc.vendInfo);
    }
    const SysConfig& config = getSysCtrl().config;
    al.enableRebootFromNbr = static_cast<uint8_t>(config.enableRebootFromNbr);
    al.enableIntfPwrCtrlFromNbr = static_cast<uint8_t>(config.enableIntfPwrCtrlFromNbr);
    const SysIdentity& id = getSysCtrl().identity;
    al.firmwareVersion = id.firmwareVersion;
    al.hostname = id.hostname;
    al.deviceMode = id.deviceMode;
    al.releaseVersion = id.releaseVersion;
    al.releaseVersionGit = id.releaseVersionGit;
    al.info.appVersion = id.appVersion;
    al.info.l2DeviveCtrlVersion = id.l2DeviveCtrlVersion;
    al.info.wifiAutoCfgVersion = id.wifiAutoCfgVersion;
    al.info.wifiOnOffVersion = id.wifiOnOffVersion;
    al.info.fwUpgradeVersion = id.fwUpgradeVersion;
    al.info.ledOnOffVersion = id.ledOnOffVersion;
    al.info.dsiVersion = id.dsiVersion;
    al.info.vm1905Version = id.vm1905Version;
    al.buildNumber = id.buildNumber;
    al.lanMac = macText(id.lanMac);
    return kOk;
}

int retrieveSecTable(SecurityTable& security) {
    SecurityDesc desc{};
    if (const int result = getSecurityConfig(&desc); result != 0) {
        LOG_PUTS(1, "failed to retrieve security configuration\r");
        return result;
    }
    security.mode = desc.mode;
    if (desc.value != nullptr) {
        security.value.assign(desc.value, desc.value + desc.len);
        free(desc.value);
    }
    return kOk;
}

int retrieveTables(AlTable& al) {
    if (const int result = retrieveAlTable(al); result != kOk) return result;
    if (const int result = retrieveIntfTable(al); result != kOk) return result;
    if (const int result = retrieveBrdgTupleTable(al); result != kOk) return result;
    return retrieveSecTable(al.security);
}

}  // namespace

int initDataManager() {
    LOG_PUTS(4, "retrieve data model\r");
    AlTable& al = createDatabase();
    al.lastChange = now();
    if (const int result = retrieveTables(al); result != kOk) {
        destroyDatabase();
        return result;
    }
    al.topol.enable = getSysCtrl().config.enableNetTopol;
    al.topol.maxChangeLogEntries = getSysCtrl().config.maxChangeLogEntries;
    return requestUpdateDataModel(0);
}

int destroyDataManager() {
    destroyDatabase();
    return kOk;
}

int setAlTableConfValue(int key, int len, const void* value) {
    AlTable* al = getAlTable();
    if (al == nullptr || value == nullptr || len < 1) return kFailure;
    const uint8_t first = *static_cast<const uint8_t*>(value);
    switch (key) {
        case 0:
            al->enableRebootFromNbr = first;
            return kOk;
        case 1:
            al->enableIntfPwrCtrlFromNbr = first;
            return kOk;
        default:
            return kFailure;
    }
}

int enableNetTopol() {
    if (AlTable* al = getAlTable()) al->topol.enable = 1;
    return requestUpdateDataModel(0);
}

int disableNetTopol() {
    if (AlTable* al = getAlTable()) al->topol.enable = 0;
    return requestUpdateDataModel(0);
}

int setNetTopolStatus(uint32_t status) {
    LOG(4, "status = %d\r\n", static_cast<int>(status));
    AlTable* al = getAlTable();
    if (al == nullptr || al->topol.status == status) return kOk;
    al->topol.status = status;
    return requestUpdateDataModel(0);
}
