#include "db/options.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/log.h"
#include "base/result.h"
#include "base/store.h"
#include "db/change_log.h"
#include "db/conf_file.h"
#include "db/data_manager.h"
#include "db/data_model_update.h"
#include "db/sys_ctrl.h"
#include "platform/descriptions.h"

namespace {

constexpr const char* kReleaseVersion = "7879";
constexpr uint16_t kMaxChangeLog = 256;

SysConfig& config() {
    return getSysCtrl().config;
}
SysIdentity& identity() {
    return getSysCtrl().identity;
}

using File = std::unique_ptr<FILE, decltype(&fclose)>;

// error: why it cannot be opened.
File openConfFile(const char* name, int& error) {
    const std::string path = std::string(getSysCtrl().g_conf_folder.view()) + "/" + name;
    File file(fopen(path.c_str(), "re"), fclose);
    error = errno;
    if (!file && error == ENOENT) LOG(2, "can't open file: %s\r\n", path.c_str());
    if (!file && error != ENOENT) {
        LOG(1,
            "can't open %s: %s. The daemon's user must be able to read it; under vm1905.service: "
            "chown root:vm1905, chmod 0640\r\n",
            path.c_str(), strerror(error));
    }
    return file;
}

// Fills a text from a platform function, cleaned; the text is empty if that fails.
template <typename TextField>
void fetch(int (*get)(char*), TextField& text) {
    TextField given;
    if (get(given.data()) != 0) given = "";
    given.terminate();
    storePlain(text, given);
}

// Stores a permission of the neighbors in the AlTable too, under this key of setAlTableConfValue.
int mirrorPermission(int alTableKey, uint32_t isEnable) {
    const uint8_t value = static_cast<uint8_t>(isEnable);
    (void)setAlTableConfValue(alTableKey, 1, &value);
    return requestUpdateDataModel(1);
}

}  // namespace

void setConfFolder(std::string_view folder) {
    getSysCtrl().g_conf_folder = folder;
}

int initSysConfig() {
    setDebugLevel(3);
    int error = 0;
    const File file = openConfFile("vm1905.conf", error);
    if (!file) return error == ENOENT ? kFailure : kInvalidState;
    std::vector<std::string> complaints;
    {
        FewComplaints few("vm1905.conf",
                          [&](const std::string& line) { complaints.push_back(line); });
        readConfigFile(file.get(), getSysCtrl(), std::ref(few));
    }
    for (const std::string& line : complaints) LOG(1, "%s\r\n", line.c_str());
    setDebugLevel(config().debugLevel);
    setLogTimeIso(config().logTimeIsIso);

    SysIdentity& id = identity();
    fetch(getFirmwareVersion, id.firmwareVersion);
    fetch(getHostname, id.hostname);
    fetch(getBuildNumber, id.buildNumber);
    uint8_t lanMac[PLATFORM_MAC_LEN] = {};
    (void)::getDeviceLANMac(lanMac);
    id.lanMac = MacAddr(lanMac);

    const SysConfig& c = config();
    LOG(4,
        "Velmar IEEE 1905.1 utility configuration: DEBUG_LEVEL = %d, ENABLE_NET_TOPOL = %d, "
        "MAX_CHANGE_LOG_ENTRIES = %d, ENABLE_REBOOT_FROM_NBR = %d, "
        "ENABLE_INTF_PWR_CTRL_FROM_NBR = %d, DATA_MODEL_FOLDER = %s, ENABLE_LOG = %d, "
        "LOG_FOLDER = %s, LOG_INDEX = %d, Firmware_Version = %s, BuildNumber = %s, "
        "LANMac = " MAC_FMT "\r\n",
        c.debugLevel, c.enableNetTopol, c.maxChangeLogEntries, c.enableRebootFromNbr,
        c.enableIntfPwrCtrlFromNbr, c.dataModelFolder.c_str(), c.enableLog, c.logFolder.c_str(),
        c.logIndex, id.firmwareVersion.c_str(), id.buildNumber.c_str(), MAC_ARGS(id.lanMac));

    initVersion();
    fetch(getDeviceMode, id.deviceMode);
    id.releaseVersion = kReleaseVersion;
    const std::string_view git(kReleaseVersionGit);
    id.releaseVersionGit = git.substr(0, git.find('\n'));
    return kOk;
}

int initVersion() {
    // Meant: after start-up the running level is 3, whatever DEBUG_LEVEL says, until something sets
    // it again. The option keeps the value of the file.
    setDebugLevel(3);
    int error = 0;
    const File file = openConfFile("vm1905_Version", error);
    if (!file) return kFailure;
    readVersionFile(file.get(), getSysCtrl());
    const SysIdentity& id = identity();
    LOG(4,
        "Velmar IEEE 1905.1 Version:Version_app = %s, L2DeviveCtrl = %s, WiFiAutoCfg = %s, "
        "WiFiOnOff = %s, FwUpgrade = %s, LEDOnOff = %s, DSI = %s, vm1905Version = %s\n",
        id.appVersion.c_str(), id.l2DeviveCtrlVersion.c_str(), id.wifiAutoCfgVersion.c_str(),
        id.wifiOnOffVersion.c_str(), id.fwUpgradeVersion.c_str(), id.ledOnOffVersion.c_str(),
        id.dsiVersion.c_str(), id.vm1905Version.c_str());
    return kOk;
}

int setDefSysConfig() {
    config() = {};
    const SysConfig& c = config();
    LOG(3,
        "Velmar IEEE 1905.1 utility configuration: DEBUG_LEVEL = %d, ENABLE_NET_TOPOL = %d, "
        "MAX_CHANGE_LOG_ENTRIES = %d, ENABLE_REBOOT_FROM_NBR = %d, "
        "ENABLE_INTF_PWR_CTRL_FROM_NBR = %d, DATA_MODEL_FOLDER = %s, ENABLE_LOG = %d, "
        "LOG_FOLDER = %s, LOG_INDEX = %d \r\n",
        c.debugLevel, c.enableNetTopol, c.maxChangeLogEntries, c.enableRebootFromNbr,
        c.enableIntfPwrCtrlFromNbr, c.dataModelFolder.c_str(), c.enableLog, c.logFolder.c_str(),
        c.logIndex);
    return kOk;
}

uint8_t getDebugLevelOption() {
    return config().debugLevel;
}

int setDebugLevelOption(uint8_t level) {
    return store(config().debugLevel, level) ? kOk : kUnchanged;
}

uint32_t getEnableNetTopolOption() {
    return config().enableNetTopol;
}

int setEnableNetTopolOption(uint32_t enable) {
    if (!store(config().enableNetTopol, enable)) return kUnchanged;
    if (enable == 1) enableNetTopol();
    if (enable == 0) disableNetTopol();
    return kOk;
}

int setMaxChangeLogEntriesOption(uint16_t maximum) {
    if (config().maxChangeLogEntries == maximum) return kUnchanged;
    config().maxChangeLogEntries = std::min(maximum, kMaxChangeLog);
    // Meant: the change log gets the number without the limit.
    setChangeLogMaxEntries(maximum);
    return kOk;
}

uint32_t getEnableRebootFromNbrOption() {
    return config().enableRebootFromNbr;
}

int setEnableRebootFromNbrOption(uint32_t enable) {
    if (!store(config().enableRebootFromNbr, enable)) return kUnchanged;
    LOG(4, "isEnable = %d\r\n", static_cast<int>(enable));
    return mirrorPermission(0, enable);
}

uint32_t getEnableIntfPwrCtrlFromNbrOption() {
    return config().enableIntfPwrCtrlFromNbr;
}

int setEnableIntfPwrCtrlFromNbrOption(uint32_t enable) {
    if (!store(config().enableIntfPwrCtrlFromNbr, enable)) return kUnchanged;
    LOG(4, "isEnable = %d\r\n", static_cast<int>(enable));
    return mirrorPermission(1, enable);
}

const char* getDataModelFolderOption() {
    return config().dataModelFolder.c_str();
}

int setDataModelFolderOption(const char* folder) {
    if (folder == nullptr) return kFailure;
    config().dataModelFolder = folder;
    return kOk;
}

uint32_t getEnableLogOption() {
    return config().enableLog;
}

int setEnableLogOption(uint32_t enable) {
    return store(config().enableLog, enable) ? kOk : kUnchanged;
}

int setLogFolderOption(const char* folder) {
    if (folder == nullptr) return kFailure;
    config().logFolder = folder;
    return kOk;
}

uint8_t getLogIndexOption() {
    return config().logIndex;
}

const OrdersFrom& getOrdersFromOption() {
    return config().ordersFrom;
}

bool getControlFilesOfOwnerOption() {
    return config().controlFilesOfOwner;
}

const char* getMeshKeyOption() {
    return config().meshKey.c_str();
}

const char* getMeshKeyNextOption() {
    return config().meshKeyNext.c_str();
}

std::optional<gid_t> getChannelGroupOption() {
    return config().channelGroup;
}

mode_t getChannelModeOption() {
    return config().channelMode;
}

std::optional<mode_t> getDataModelModeOption() {
    return config().dataModelMode;
}

const char* getWebFolderOption() {
    return config().webFolder.c_str();
}

void setWebFolderOption(std::string_view folder) {
    config().webFolder = folder;
}

std::optional<gid_t> getWebGroupOption() {
    return config().webGroup;
}

std::optional<bool> getConfineOption() {
    return config().confine;
}

const char* getRunAsOption() {
    return config().runAs.c_str();
}

bool getExcludeDefaultRouteOption() {
    return config().excludeDefaultRoute == 1;
}

bool getReadLldpOption() {
    return config().readLldp == 1 || getStandardOption();
}

bool getStandardOption() {
    return config().standard1905 == 1;
}

int setLogIndexOption(uint8_t index) {
    config().logIndex = index;
    return kOk;
}
