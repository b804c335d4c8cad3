#include "db/options.h"

#include <grp.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "base/log.h"
#include "base/result.h"
#include "base/store.h"
#include "db/change_log.h"
#include "db/data_manager.h"
#include "db/data_model_update.h"
#include "db/sys_ctrl.h"
#include "platform/descriptions.h"

namespace {

constexpr const char* kReleaseVersion = "7879";
constexpr uint16_t kMaxChangeLog = 256;
constexpr int kLineLength = 128;

SysConfig& config() {
    return getSysCtrl().config;
}
SysIdentity& identity() {
    return getSysCtrl().identity;
}

// A key of a configuration file.
struct Key {
    const char* name;
    const char* fallback;  // the value if the file has none
    void (*store)(const char* value);
};

template <auto Member>
void storeNumber(const char* value) {
    auto& field = config().*Member;
    field = static_cast<std::remove_reference_t<decltype(field)>>(atoi(value));
}

void storeDebugLevel(const char* value) {
    storeNumber<&SysConfig::debugLevel>(value);
    setDebugLevel(config().debugLevel);
}

template <auto Member>
void storeText(const char* value) {
    config().*Member = value;
}

template <auto Member>
void storeVersion(const char* value) {
    identity().*Member = value;
}

// The first token at or behind pos, empty if there is none. pos moves behind its separator.
std::string_view nextToken(std::string_view line, size_t& pos, const char* separators) {
    const size_t begin = line.find_first_not_of(separators, pos);
    if (begin == line.npos) {
        pos = line.size();
        return {};
    }
    const size_t end = std::min(line.find_first_of(separators, begin), line.size());
    pos = std::min(end + 1, line.size());
    return line.substr(begin, end - begin);
}

// "any", "registrar", or a list of AL MACs. A misspelt word is no AL MAC, so it admits nobody.
void storeOrdersFrom(const char* value) {
    OrdersFrom& from = config().ordersFrom;
    const std::string_view text(value);
    from = {text == "any"         ? OrdersFrom::kAny
            : text == "registrar" ? OrdersFrom::kRegistrar
                                  : OrdersFrom::kListed};
    if (from.who != OrdersFrom::kListed) return;
    for (size_t pos = 0; pos < text.size();) {
        const std::string word(nextToken(text, pos, ","));
        MacAddr mac;
        int length = 0;
        if (sscanf(word.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx%n", &mac.b[0], &mac.b[1], &mac.b[2],
                   &mac.b[3], &mac.b[4], &mac.b[5], &length) == 6 &&
            length == static_cast<int>(word.size())) {
            from.listed.push_back(mac);
        } else {
            LOG(1, "ORDERS_FROM: \"%s\" is not an AL MAC\r\n", plainText(word).c_str());
        }
    }
}

// "any" or "owner", which also a misspelt word means.
void storeControlFilesFrom(const char* value) {
    config().controlFilesOfOwner = std::string_view(value) != "any";
}

// The whole value as a number of this base.
template <typename Number>
std::optional<Number> wholeNumber(std::string_view text, int base) {
    Number number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

// The owner keeps his rights, because the daemon itself needs them.
std::optional<mode_t> modeOf(const char* key, const char* value) {
    const auto mode = wholeNumber<mode_t>(value, 8);
    if (mode && (*mode & 0600) == 0600 && (*mode & ~0666U) == 0) return mode;
    LOG(1, "%s: \"%s\" is no mode between 0600 and 0666, the default is used\r\n", key,
        plainText(value).c_str());
    return {};
}

// The group of this name or number. Empty for an empty value, and for one that is no group, which
// the log names.
std::optional<gid_t> groupOf(const char* key, const char* value) {
    constexpr auto kNone = static_cast<gid_t>(-1);
    if (*value == '\0') return {};
    const group* const named = getgrnam(value);
    const gid_t found =
        named != nullptr ? named->gr_gid : wholeNumber<gid_t>(value, 10).value_or(kNone);
    if (found != kNone) return found;
    LOG(1, "%s: there is no group \"%s\", the default is used\r\n", key, plainText(value).c_str());
    return {};
}

void storeChannelGroup(const char* value) {
    config().channelGroup = groupOf("CHANNEL_GROUP", value);
}

void storeWebGroup(const char* value) {
    config().webGroup = groupOf("WEB_GROUP", value);
}

void storeChannelMode(const char* value) {
    config().channelMode = modeOf("CHANNEL_MODE", value).value_or(SysConfig{}.channelMode);
}

void storeLogTime(const char* value) {
    config().logTimeIsIso = std::string_view(value) == "iso";
    setLogTimeIso(config().logTimeIsIso);
}

void storeDataModelMode(const char* value) {
    config().dataModelMode = *value == '\0' ? std::nullopt : modeOf("DATA_MODEL_MODE", value);
}

void storeConfine(const char* value) {
    const auto number = wholeNumber<unsigned>(value, 10);
    config().confine = number && *number <= 1 ? std::optional(*number == 1) : std::nullopt;
}

// A line sets the first key of the list that occurs anywhere in it, so the order matters.
constexpr Key kConfigKeys[] = {
    {"DEBUG_LEVEL", "3", storeDebugLevel},
    {"ENABLE_NET_TOPOL", "1", storeNumber<&SysConfig::enableNetTopol>},
    {"MAX_CHANGE_LOG_ENTRIES", "256", storeNumber<&SysConfig::maxChangeLogEntries>},
    {"ENABLE_REBOOT_FROM_NBR", "1", storeNumber<&SysConfig::enableRebootFromNbr>},
    {"ENABLE_INTF_PWR_CTRL_FROM_NBR", "1", storeNumber<&SysConfig::enableIntfPwrCtrlFromNbr>},
    {"DATA_MODEL_FOLDER", "/tmp", storeText<&SysConfig::dataModelFolder>},
    {"ENABLE_LOG", "0", storeNumber<&SysConfig::enableLog>},
    {"LOG_FOLDER", "/etc/vm1905", storeText<&SysConfig::logFolder>},
    {"LOG_INDEX", "0", storeNumber<&SysConfig::logIndex>},
    {"LOG_TIME", "", storeLogTime},
    {"READ_LLDP", "0", storeNumber<&SysConfig::readLldp>},
    {"STANDARD_1905", "0", storeNumber<&SysConfig::standard1905>},
    {"ENABLE_RESET_FROM_NBR", "1", storeNumber<&SysConfig::enableResetFromNbr>},
    {"ENABLE_FIRMWARE_FROM_NBR", "1", storeNumber<&SysConfig::enableFirmwareFromNbr>},
    {"ENABLE_NETWORK_FROM_NBR", "1", storeNumber<&SysConfig::enableNetworkFromNbr>},
    {"ENABLE_SYSTEM_FROM_NBR", "1", storeNumber<&SysConfig::enableSystemFromNbr>},
    {"ENABLE_WIFI_FROM_NBR", "1", storeNumber<&SysConfig::enableWifiFromNbr>},
    {"ORDERS_FROM", "any", storeOrdersFrom},
    {"CONTROL_FILES_FROM", "any", storeControlFilesFrom},
    {"MESH_KEY_NEXT", "", storeText<&SysConfig::meshKeyNext>},
    {"MESH_KEY", "", storeText<&SysConfig::meshKey>},
    {"CHANNEL_GROUP", "", storeChannelGroup},
    {"CHANNEL_MODE", "0666", storeChannelMode},
    {"DATA_MODEL_MODE", "", storeDataModelMode},
    {"WEB_FOLDER", "", storeText<&SysConfig::webFolder>},
    {"WEB_GROUP", "", storeWebGroup},
    {"CONFINE", "0", storeConfine},
    {"RUN_AS", "", storeText<&SysConfig::runAs>},
    {"EXCLUDE_DEFAULT_ROUTE", "0", storeNumber<&SysConfig::excludeDefaultRoute>},
};

constexpr Key kVersionKeys[] = {
    {"AppVersion", "1.0", storeVersion<&SysIdentity::appVersion>},
    {"L2DeviveCtrl", "0", storeVersion<&SysIdentity::l2DeviveCtrlVersion>},
    {"WiFiAutoCfg", "0", storeVersion<&SysIdentity::wifiAutoCfgVersion>},
    {"WiFiOnOff", "0", storeVersion<&SysIdentity::wifiOnOffVersion>},
    {"FwUpgrade", "0", storeVersion<&SysIdentity::fwUpgradeVersion>},
    {"LEDOnOff", "0", storeVersion<&SysIdentity::ledOnOffVersion>},
    {"DSI", "0", storeVersion<&SysIdentity::dsiVersion>},
    {"vm1905Version", "0", storeVersion<&SysIdentity::vm1905Version>},
};

using File = std::unique_ptr<FILE, decltype(&fclose)>;

File openConfFile(const char* name) {
    const std::string path = std::string(getSysCtrl().g_conf_folder.view()) + "/" + name;
    File file(fopen(path.c_str(), "re"), fclose);
    if (!file) LOG(2, "can't open file: %s\r\n", path.c_str());
    return file;
}

template <size_t N>
void readKeys(FILE* file, const Key (&keys)[N]) {
    bool seen[N] = {};
    char buffer[kLineLength];
    while (fgets(buffer, sizeof buffer, file) != nullptr) {
        const std::string_view line(buffer);
        if (line.starts_with('\r') || line.starts_with('#')) continue;
        for (size_t i = 0; i < N; i++) {
            if (line.find(keys[i].name) == line.npos) continue;
            size_t pos = 0;
            (void)nextToken(line, pos, "= ;\n");
            const std::string value(nextToken(line, pos, "= ;\r\n"));
            keys[i].store(value.empty() ? keys[i].fallback : value.c_str());
            seen[i] = true;
            break;
        }
    }
    for (size_t i = 0; i < N; i++) {
        if (!seen[i]) keys[i].store(keys[i].fallback);
    }
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
    const File file = openConfFile("vm1905.conf");
    if (!file) return kFailure;
    readKeys(file.get(), kConfigKeys);

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
    const File file = openConfFile("vm1905_Version");
    if (!file) return kFailure;
    readKeys(file.get(), kVersionKeys);
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
