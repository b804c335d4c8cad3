#include "db/options.h"

#include <filesystem>
#include <fstream>
#include <set>

#include "db/conf_file.h"
#include "db/exported_accessors.h"
#include "db/sys_ctrl.h"
#include "support/device.h"
#include "support/log_capture.h"

namespace {

// The nine options as text.
std::string options() {
    const SysConfig& c = getSysCtrl().config;
    char text[128];
    snprintf(text, sizeof text, "%d %u %d %u %u %s %u %s %d", c.debugLevel, c.enableNetTopol,
             c.maxChangeLogEntries, c.enableRebootFromNbr, c.enableIntfPwrCtrlFromNbr,
             c.dataModelFolder.c_str(), c.enableLog, c.logFolder.c_str(), c.logIndex);
    return text;
}
const std::string kDefaults = "3 1 256 1 1 /tmp 0 /etc/vm1905 0";

std::string versions() {
    std::string all;
    for (const auto get : {sys_getAppVersion, sys_getL2DeviveCtrlVersion, sys_getWiFiAutoCfgVersion,
                           sys_getWiFiOnOffVersion, sys_getFwUpgradeVersion, sys_getLEDOnOffVersion,
                           sys_getDSIVersion, sys_getvm1905VersionVersion})
        all += get() + std::string(" ");
    return all;
}

class Options : public Device {
  protected:
    void SetUp() override {
        Device::SetUp();
        setConfFolder(folder());
        setNines();
    }
    static void setNines() {
        const Text<32> nine("/nine");
        getSysCtrl().config = {9, 9, 9, 9, 9, nine, 9, nine, 9};
    }
    void write(const char* file, const std::string& text) const {
        std::ofstream(folder() + "/" + file, std::ios::binary) << text;
    }
    LogCapture log_{2};
};

TEST_F(Options, AreReadFromTheFile) {
    std::string binary;
    for (int i = 0; i < 100'000; i++) binary += static_cast<char>(i * 7);
    const std::string xs(200, 'x'), folders = " /tmp 0 /etc/vm1905 ";
    const std::pair<std::string, std::string> cases[] = {
        {"DEBUG_LEVEL=\nENABLE_NET_TOPOL\nMAX_CHANGE_LOG_ENTRIES = ;\nENABLE_REBOOT_FROM_NBR=\r\n"
         "DATA_MODEL_FOLDER=\nLOG_INDEX=",
         kDefaults},
        {"DEBUG_LEVEL=4\nENABLE_NET_TOPOL = 0;\nMAX_CHANGE_LOG_ENTRIES 8\nENABLE_REBOOT_FROM_NBR=0;"
         "\r\n  ENABLE_INTF_PWR_CTRL_FROM_NBR==0\nDATA_MODEL_FOLDER=/a\r\nENABLE_LOG;1\n"
         "LOG_FOLDER = /var/log;\nLOG_INDEX=2 # note",
         "4 0 8 0 0 /a 1 /var/log 2"},
        {"#DEBUG_LEVEL=4\n\rLOG_INDEX=3\nNOTHING=1\n\n", kDefaults},
        // The first key of the list that occurs in a line counts; the value is the second word.
        {"my DEBUG_LEVEL=4\nxLOG_INDEXx=5", "0 1 256 1 1" + folders + "5"},
        {"LOG_INDEX=2 ENABLE_LOG=7", "3 1 256 1 1 /tmp 2 /etc/vm1905 0"},
        {"DEBUG_LEVEL=260\nENABLE_NET_TOPOL=7\nMAX_CHANGE_LOG_ENTRIES=300\nENABLE_LOG=yes",
         "4 7 300 1 1" + folders + "0"},  // numbers are not checked
        {"LOG_FOLDER=" + xs, "3 1 256 1 1 /tmp 0 " + xs.substr(0, 31) + " 0"},
        // A line ends after 127 characters; the rest is another line.
        {xs.substr(0, 116) + "LOG_INDEX=12\n", "3 1 256 1 1" + folders + "1"},
        {xs.substr(0, 127) + "LOG_INDEX=12\n", "3 1 256 1 1" + folders + "12"},
        {binary + "\nLOG_INDEX=4\n", "3 1 256 1 1" + folders + "4"},
        {std::string(10 << 20, '=') + "\nLOG_INDEX=7\n", "3 1 256 1 1" + folders + "7"}};
    for (const auto& [file, expected] : cases) {
        setNines();
        write("vm1905.conf", file);
        EXPECT_EQ(initSysConfig(), kOk);
        EXPECT_EQ(options(), expected) << file.substr(0, 300);
    }
}

TEST_F(Options, AMisspeltWordIsNoPermission) {
    for (const auto& [word, ofOwner] : {std::pair{"any", false}, {"", false}, {"ownr", true}}) {
        write("vm1905.conf", std::string("CONTROL_FILES_FROM = ") + word);
        EXPECT_EQ(initSysConfig() == kOk && getControlFilesOfOwnerOption(), ofOwner) << word;
    }
}

TEST_F(Options, LogTimeIsReadBesideTheOtherKeysOfTheLog) {
    for (const auto& [line, isIso] :
         {std::pair{"LOG_TIME = iso", true}, {"LOG_TIME = is", false}}) {
        write("vm1905.conf", std::string("ENABLE_LOG = 1\n") + line + "\nLOG_INDEX = 3\n");
        EXPECT_EQ(initSysConfig(), kOk);
        EXPECT_EQ(options(), "3 1 256 1 1 /tmp 1 /etc/vm1905 3");
        EXPECT_EQ(getSysCtrl().config.logTimeIsIso, isIso);
    }
    setLogTimeIso(false);
}

TEST_F(Options, KeysOfTheMeshAreToldApart) {
    write("vm1905.conf", "MESH_KEY_NEXT=/next\nMESH_KEY = /key\n");
    EXPECT_EQ(initSysConfig(), kOk);
    EXPECT_EQ(getMeshKeyOption() + std::string(getMeshKeyNextOption()), "/key/next");
}

TEST_F(Options, WrongGroupsAndModesHaveTheirDefaults) {
    // A value of all keys, what becomes of it, and how many of them are named.
    const std::tuple<std::string, int, unsigned, size_t> cases[] = {
        {"", -1, 0666, 0},      {"root", 0, 0666, 2},  {"0660", 660, 0660, 0},
        {"0460", 460, 0666, 2}, {"670", 670, 0666, 2}, {"1666", 1666, 0666, 2},
        {"66a", -1, 0666, 4},   {"-1", -1, 0666, 4},   {"4294967295", -1, 0666, 4}};
    for (const auto& [value, group, mode, wrong] : cases) {
        write("vm1905.conf", "CHANNEL_GROUP = " + value + "\nCHANNEL_MODE = " + value +
                                 "\nDATA_MODEL_MODE = " + value + "\nWEB_GROUP = " + value + "\n");
        EXPECT_EQ(initSysConfig(), kOk);
        EXPECT_EQ(getChannelGroupOption().value_or(~0U), static_cast<gid_t>(group)) << value;
        EXPECT_EQ(getWebGroupOption(), getChannelGroupOption());
        EXPECT_EQ(getChannelModeOption(), mode) << value;
        EXPECT_EQ(getDataModelModeOption().value_or(0666), mode) << value;
        EXPECT_EQ(occurrences(log_.text(), ", not \"" + value + "\"\r\n"), wrong) << value;
    }
}

TEST_F(Options, WrongLinesAreNamed) {
    const std::string xs(120, 'x');
    // A line, and the complaint about it; the third line of a file.
    const std::pair<std::string, std::string> cases[] = {
        {"DEBUG_LEVEL=banana", "DEBUG_LEVEL must be 0 to 5, not \"banana\""},
        {"DEBUG_LEVEL=-0", "DEBUG_LEVEL must be 0 to 5, not \"-0\""},
        {"MAX_CHANGE_LOG_ENTRIES = -5", "MAX_CHANGE_LOG_ENTRIES must be 1 to 256, not \"-5\""},
        {"DATA_MODEL_FOLDER=/" + xs.substr(0, 31),
         "DATA_MODEL_FOLDER must be a folder of at most 31 characters, not \"/" + xs.substr(0, 31) +
             "\""},
        {"ORDERS_FROM = 02:00:00:00:00:01,zz:zz",
         "ORDERS_FROM must be any, registrar or AL MACs, not \"02:00:00:00:00:01,zz:zz\""},
        {"CONFINE=\x1b[1m", "CONFINE must be 0 or 1, not \"[1m\""},
        {"COLOR = red", "unknown key COLOR"},
        {"MY_LOG_INDEX=1", "MY_LOG_INDEX is taken for LOG_INDEX"},
        {"LOG_INDEX=1 # not DEBUG_LEVEL", "LOG_INDEX is taken for DEBUG_LEVEL"},
        {"  #LOG_INDEX=1", "#LOG_INDEX is taken for LOG_INDEX"},
        {xs + "LOG_INDEX=1", "longer than 127 characters, the rest counts as a line"},
        {"#" + xs + "...... ENABLE_LOG=1", "longer than 127 characters, the rest counts as a line"},
        // These are right.
        {"LOG_INDEX = 2; # note", ""},
        {"\tENABLE_LOG\t=\t1\r", ""},
        {"LOG_FOLDER=", ""},
        {"  # a note", ""},
        {"#" + xs + xs, ""},
        {" \t\r", ""},
    };
    for (const auto& [line, complaint] : cases) {
        write("vm1905.conf", "# first\nDEBUG_LEVEL = 0\n" + line + "\n");
        EXPECT_EQ(initSysConfig(), kOk);
        const std::string log = log_.text();
        EXPECT_EQ(occurrences(log, "vm1905.conf: line "), complaint.empty() ? 0U : 1U) << line;
        EXPECT_EQ(occurrences(log, "vm1905.conf: line 3: " + complaint + "\r\n"),
                  complaint.empty() ? 0U : 1U)
            << line;
    }
    std::string many;
    for (int i = 0; i < 20; i++) many += "COLOR = red\n";
    write("vm1905.conf", many);
    EXPECT_EQ(initSysConfig(), kOk);
    const std::string log = log_.text();
    EXPECT_EQ(occurrences(log, "unknown key"), 8U);
    EXPECT_EQ(occurrences(log, "vm1905.conf: 12 more such lines\r\n"), 1U);
}

TEST_F(Options, TheManualHasTheKeys) {
    std::ifstream page(VM1905_MAN "/vm1905.conf.5");
    std::multiset<std::string> inPage, inTable;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with(".BR ") && line.find("; default: ") != line.npos) inPage.insert(line);
    }
    for (const ConfKey& key : configKeys()) {
        const std::string fallback = *key.fallback == '\0' ? "none" : key.fallback;
        inTable.insert(std::string(".BR ") + key.name + " \" (" + key.type.text +
                       "; default: " + fallback + ")\"");
    }
    EXPECT_EQ(inPage, inTable);
}

TEST_F(Options, MissingFileChangesNothing) {
    EXPECT_EQ(initSysConfig(), kFailure);
    EXPECT_EQ(options(), "9 9 9 9 9 /nine 9 /nine 9");
    EXPECT_EQ(occurrences(log_.text(), "can't open file: " + folder() + "/vm1905.conf\r\n"), 1U);
    EXPECT_EQ(setDefSysConfig(), kOk);
    EXPECT_EQ(options(), kDefaults);
    std::filesystem::create_symlink("vm1905.conf", folder() + "/vm1905.conf");
    EXPECT_EQ(initSysConfig(), kInvalidState) << "it is there, but cannot be opened";
}

TEST_F(Options, IdentityVersionsAndRunningLevel) {
    write("vm1905.conf", "DEBUG_LEVEL=4\n");
    fakePlatform().hostname = std::string(200, 'h');
    EXPECT_EQ(initSysConfig(), kOk);
    EXPECT_EQ(sys_getDevicehostname(), std::string(127, 'h'));
    EXPECT_EQ(versions(), "        ") << "empty without a file";
    // Meant: DEBUG_LEVEL is in effect while the files are read, then 3.
    EXPECT_TRUE(fakePlatform().called("setNetCtrlDebugLevel 4"));
    EXPECT_EQ(getDebugLevel() * 10 + getDebugLevelOption(), 34);
    write("vm1905_Version",
          "AppVersion=\nL2DeviveCtrl=3\nWiFiAutoCfg=4\nWiFiOnOff=5\nFwUpgrade=6\n"
          "#LEDOnOff=7\nDSI\nvm1905Version=9\n");
    EXPECT_EQ(initVersion(), kOk);
    EXPECT_EQ(versions(), "1.0 3 4 5 6 0 0 9 ");
}

int notifications;

TEST_F(Options, SettersReturnWhetherTheyChanged) {
    notifications = 0;
    AlTable& al = createDatabase();
    al.enableIntfPwrCtrlFromNbr = 1;
    upcalls().requestSendTopolNtfMsg = [] { return ++notifications; };
    for (const int expected : {kOk, kUnchanged}) {
        for (const int result : {setDebugLevelOption(5), setEnableRebootFromNbrOption(1),
                                 setEnableIntfPwrCtrlFromNbrOption(0), setEnableLogOption(1),
                                 setMaxChangeLogEntriesOption(256)})
            EXPECT_EQ(result, expected);
        EXPECT_EQ(setLogIndexOption(3), kOk) << "meant: also for the present value";
    }
    // Meant: stored with a limit, compared and passed on without.
    for (int i = 0; i < 2; i++) EXPECT_EQ(setMaxChangeLogEntriesOption(300), kOk);
    EXPECT_EQ(al.topol.maxChangeLogEntries, 300);
    for (const uint32_t enable : {1U, 0U, 2U}) {
        EXPECT_EQ(setEnableNetTopolOption(enable), kOk);
        EXPECT_EQ(al.topol.enable, enable == 1 ? 1U : 0U);
    }
    EXPECT_EQ(setEnableNetTopolOption(2), kUnchanged);
    EXPECT_EQ(setDataModelFolderOption(nullptr) + setLogFolderOption(nullptr), 2 * kFailure);
    EXPECT_EQ(setDataModelFolderOption("/data") + setLogFolderOption("/log"), kOk);
    EXPECT_EQ(al.enableRebootFromNbr * 10 + al.enableIntfPwrCtrlFromNbr, 10);
    EXPECT_EQ(notifications, 2);
    EXPECT_EQ(options(), "5 2 256 1 0 /data 1 /log 3");
    EXPECT_EQ(getDebugLevel(), 0) << "the running level is independent";
}

}  // namespace
