#include "db/conf_file.h"

#include <grp.h>
#include <pwd.h>

#include <algorithm>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include "db/sys_ctrl.h"

namespace {

constexpr size_t kLineLength = 128;

// ---- The types of values

template <unsigned Least, unsigned Most>
bool isNumber(std::string_view value) {
    const auto number = wholeNumber<unsigned>(value, 10);
    return number && *number >= Least && *number <= Most;
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
OrdersFrom ordersFrom(std::string_view text, bool& isWrong) {
    isWrong = false;
    OrdersFrom from = {text == "any"         ? OrdersFrom::kAny
                       : text == "registrar" ? OrdersFrom::kRegistrar
                                             : OrdersFrom::kListed};
    if (from.who != OrdersFrom::kListed) return from;
    for (size_t pos = 0; pos < text.size();) {
        const std::string word(nextToken(text, pos, ","));
        MacAddr mac;
        int length = 0;
        if (sscanf(word.c_str(), "%hhx:%hhx:%hhx:%hhx:%hhx:%hhx%n", &mac.b[0], &mac.b[1], &mac.b[2],
                   &mac.b[3], &mac.b[4], &mac.b[5], &length) == 6 &&
            length == static_cast<int>(word.size())) {
            from.listed.push_back(mac);
        } else {
            isWrong = true;
        }
    }
    return from;
}

// The owner keeps his rights, because the daemon itself needs them.
std::optional<mode_t> modeOf(std::string_view value) {
    const auto mode = wholeNumber<mode_t>(value, 8);
    return mode && (*mode & 0600) == 0600 && (*mode & ~0666U) == 0 ? mode : std::nullopt;
}

std::optional<gid_t> groupOf(const std::string& value) {
    constexpr auto kNone = static_cast<gid_t>(-1);
    const group* const named = getgrnam(value.c_str());
    const gid_t found =
        named != nullptr ? named->gr_gid : wholeNumber<gid_t>(value, 10).value_or(kNone);
    return found != kNone ? std::optional(found) : std::nullopt;
}

constexpr ConfType kText{"text", [](std::string_view) { return true; }};
constexpr ConfType kFile{"a file", [](std::string_view) { return true; }};
constexpr ConfType kSwitch{"0 or 1", isNumber<0, 1>};
constexpr ConfType kLevel{"0 to 5", isNumber<0, 5>};
constexpr ConfType kEntries{"1 to 256", isNumber<1, 256>};
constexpr ConfType kLogLine{"0 to 20", isNumber<0, 20>};
constexpr ConfType kFolder{"a folder of at most 31 characters",
                           [](std::string_view value) { return value.size() <= 31; }};
constexpr ConfType kAnyFolder{"a folder", [](std::string_view) { return true; }};
constexpr ConfType kTime{"iso", [](std::string_view value) { return value == "iso"; }};
constexpr ConfType kOrdersFrom{"any, registrar or AL MACs", [](std::string_view value) {
                                   bool isWrong = false;
                                   (void)ordersFrom(value, isWrong);
                                   return !isWrong;
                               }};
constexpr ConfType kFilesFrom{
    "any or owner", [](std::string_view value) { return value == "any" || value == "owner"; }};
constexpr ConfType kMode{"0600 to 0666",
                         [](std::string_view value) { return modeOf(value).has_value(); }};
constexpr ConfType kGroup{
    "a group", [](std::string_view value) { return groupOf(std::string(value)).has_value(); }};
constexpr ConfType kUser{"a user other than root", [](std::string_view value) {
                             const passwd* const user = getpwnam(std::string(value).c_str());
                             return user != nullptr && user->pw_uid != 0;
                         }};

// ---- How they are stored

template <auto Member>
void storeNumber(SysCtrl& ctrl, const char* value) {
    auto& field = ctrl.config.*Member;
    field = static_cast<std::remove_reference_t<decltype(field)>>(atoi(value));
}

template <auto Member>
void storeText(SysCtrl& ctrl, const char* value) {
    ctrl.config.*Member = value;
}

template <auto Member>
void storeVersion(SysCtrl& ctrl, const char* value) {
    ctrl.identity.*Member = value;
}

void storeOrdersFrom(SysCtrl& ctrl, const char* value) {
    bool isWrong = false;
    ctrl.config.ordersFrom = ordersFrom(value, isWrong);
}

// Every word but "any" means "owner", also a misspelt one.
void storeControlFilesFrom(SysCtrl& ctrl, const char* value) {
    ctrl.config.controlFilesOfOwner = std::string_view(value) != "any";
}

void storeChannelGroup(SysCtrl& ctrl, const char* value) {
    ctrl.config.channelGroup = *value == '\0' ? std::nullopt : groupOf(value);
}

void storeChannelMode(SysCtrl& ctrl, const char* value) {
    ctrl.config.channelMode = modeOf(value).value_or(SysConfig{}.channelMode);
}

void storeWebGroup(SysCtrl& ctrl, const char* value) {
    ctrl.config.webGroup = *value == '\0' ? std::nullopt : groupOf(value);
}

void storeLogTime(SysCtrl& ctrl, const char* value) {
    ctrl.config.logTimeIsIso = kTime.accepts(value);
}

void storeDataModelMode(SysCtrl& ctrl, const char* value) {
    ctrl.config.dataModelMode = modeOf(value);
}

void storeConfine(SysCtrl& ctrl, const char* value) {
    ctrl.config.confine = kSwitch.accepts(value) ? std::optional(atoi(value) == 1) : std::nullopt;
}

// ---- The keys

// A line sets the first key of the list that occurs anywhere in it, so the order matters.
constexpr ConfKey kConfigKeys[] = {
    {"DEBUG_LEVEL", "3", kLevel, storeNumber<&SysConfig::debugLevel>},
    {"ENABLE_NET_TOPOL", "1", kSwitch, storeNumber<&SysConfig::enableNetTopol>},
    {"MAX_CHANGE_LOG_ENTRIES", "256", kEntries, storeNumber<&SysConfig::maxChangeLogEntries>},
    {"ENABLE_REBOOT_FROM_NBR", "1", kSwitch, storeNumber<&SysConfig::enableRebootFromNbr>},
    {"ENABLE_INTF_PWR_CTRL_FROM_NBR", "1", kSwitch,
     storeNumber<&SysConfig::enableIntfPwrCtrlFromNbr>},
    {"DATA_MODEL_FOLDER", "/tmp", kFolder, storeText<&SysConfig::dataModelFolder>},
    {"ENABLE_LOG", "0", kSwitch, storeNumber<&SysConfig::enableLog>},
    {"LOG_FOLDER", "/etc/vm1905", kFolder, storeText<&SysConfig::logFolder>},
    {"LOG_INDEX", "0", kLogLine, storeNumber<&SysConfig::logIndex>},
    {"LOG_TIME", "", kTime, storeLogTime},
    {"READ_LLDP", "0", kSwitch, storeNumber<&SysConfig::readLldp>},
    {"STANDARD_1905", "0", kSwitch, storeNumber<&SysConfig::standard1905>},
    {"ENABLE_RESET_FROM_NBR", "1", kSwitch, storeNumber<&SysConfig::enableResetFromNbr>},
    {"ENABLE_FIRMWARE_FROM_NBR", "1", kSwitch, storeNumber<&SysConfig::enableFirmwareFromNbr>},
    {"ENABLE_NETWORK_FROM_NBR", "1", kSwitch, storeNumber<&SysConfig::enableNetworkFromNbr>},
    {"ENABLE_SYSTEM_FROM_NBR", "1", kSwitch, storeNumber<&SysConfig::enableSystemFromNbr>},
    {"ENABLE_WIFI_FROM_NBR", "1", kSwitch, storeNumber<&SysConfig::enableWifiFromNbr>},
    {"ORDERS_FROM", "any", kOrdersFrom, storeOrdersFrom},
    {"CONTROL_FILES_FROM", "any", kFilesFrom, storeControlFilesFrom},
    {"MESH_KEY_NEXT", "", kFile, storeText<&SysConfig::meshKeyNext>},
    {"MESH_KEY", "", kFile, storeText<&SysConfig::meshKey>},
    {"CHANNEL_GROUP", "", kGroup, storeChannelGroup},
    {"CHANNEL_MODE", "0666", kMode, storeChannelMode},
    {"DATA_MODEL_MODE", "", kMode, storeDataModelMode},
    {"WEB_FOLDER", "", kAnyFolder, storeText<&SysConfig::webFolder>},
    {"WEB_GROUP", "", kGroup, storeWebGroup},
    {"CONFINE", "0", kSwitch, storeConfine},
    {"RUN_AS", "", kUser, storeText<&SysConfig::runAs>},
    {"EXCLUDE_DEFAULT_ROUTE", "0", kSwitch, storeNumber<&SysConfig::excludeDefaultRoute>},
};

constexpr ConfKey kVersionKeys[] = {
    {"AppVersion", "1.0", kText, storeVersion<&SysIdentity::appVersion>},
    {"L2DeviveCtrl", "0", kText, storeVersion<&SysIdentity::l2DeviveCtrlVersion>},
    {"WiFiAutoCfg", "0", kText, storeVersion<&SysIdentity::wifiAutoCfgVersion>},
    {"WiFiOnOff", "0", kText, storeVersion<&SysIdentity::wifiOnOffVersion>},
    {"FwUpgrade", "0", kText, storeVersion<&SysIdentity::fwUpgradeVersion>},
    {"LEDOnOff", "0", kText, storeVersion<&SysIdentity::ledOnOffVersion>},
    {"DSI", "0", kText, storeVersion<&SysIdentity::dsiVersion>},
    {"vm1905Version", "0", kText, storeVersion<&SysIdentity::vm1905Version>},
};

// ---- Lines

// A line, or one of the parts that a long one is read in.
struct Line {
    std::string_view text;
    int number;
    bool isRest;          // not the first part of the line
    bool isCommentsRest;  // the first part is a comment
};

std::string_view withoutBlanks(std::string_view text) {
    constexpr const char* kBlanks = "\t\r";
    const size_t begin = text.find_first_not_of(kBlanks);
    return begin == text.npos ? "" : text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

// What is wrong with a line that sets this key (nullptr: none) to this value; empty if nothing is.
std::string troubleOf(const Line& line, std::string_view name, const ConfKey* key,
                      std::string_view value) {
    if (line.isRest) {
        if (key == nullptr && (line.isCommentsRest || name.empty())) return {};
        return "longer than 127 characters, the rest counts as a line";
    }
    if (key == nullptr) {
        const bool isComment = name.empty() || name.starts_with('#');
        return isComment ? "" : "unknown key " + plainText(name);
    }
    if (name != key->name) return plainText(name) + " is taken for " + key->name;
    if (value.empty() || key->type.accepts(value)) return {};
    return wrongValue(key->name, key->type, value);
}

void readKeys(FILE* file, std::span<const ConfKey> keys, SysCtrl& ctrl,
              const ConfComplaint& complain) {
    std::vector<bool> seen(keys.size());
    char buffer[kLineLength];
    Line line{"", 1, false, false};
    std::string trouble;  // of the line; one complaint is enough
    const auto endLine = [&] {
        if (!trouble.empty()) complain(line.number, trouble);
        trouble.clear();
        line.number++;
    };
    while (fgets(buffer, sizeof buffer, file) != nullptr) {
        line.text = buffer;
        const bool isComment = line.text.starts_with('\r') || line.text.starts_with('#');
        if (!line.isRest) line.isCommentsRest = isComment;
        if (!isComment) {
            const auto key = std::ranges::find_if(keys, [&](const ConfKey& known) {
                return line.text.find(known.name) != line.text.npos;
            });
            size_t pos = 0;
            const std::string_view name = nextToken(line.text, pos, "= ;\n");
            const std::string value(nextToken(line.text, pos, "= ;\r\n"));
            const bool sets = key != keys.end();
            std::string found =
                troubleOf(line, withoutBlanks(name), sets ? &*key : nullptr, withoutBlanks(value));
            if (!found.empty()) trouble = std::move(found);
            if (sets) {
                key->store(ctrl, value.empty() ? key->fallback : value.c_str());
                seen[static_cast<size_t>(key - keys.begin())] = true;
            }
        }
        line.isRest = line.text.size() == kLineLength - 1 && !line.text.ends_with('\n');
        if (!line.isRest) endLine();
    }
    endLine();
    for (size_t i = 0; i < keys.size(); i++) {
        if (!seen[i]) keys[i].store(ctrl, keys[i].fallback);
    }
}

}  // namespace

std::span<const ConfKey> configKeys() {
    return kConfigKeys;
}

void readConfigFile(FILE* file, SysCtrl& ctrl, const ConfComplaint& complain) {
    readKeys(file, kConfigKeys, ctrl, complain);
}

void readVersionFile(FILE* file, SysCtrl& ctrl) {
    readKeys(file, kVersionKeys, ctrl, [](int, const std::string&) {});
}

void checkConfigFile(FILE* file, const ConfComplaint& complain) {
    SysCtrl scratch;
    readConfigFile(file, scratch, complain);
}
