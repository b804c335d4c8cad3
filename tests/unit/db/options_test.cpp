#include "db/options.h"
#include "db/exported_accessors.h"

#include <filesystem>
#include <fstream>

#include "base/result.h"
#include "db/database.h"
#include "db/sys_ctrl.h"
#include "db/upcalls.h"
#include "support/log_capture.h"
#include "support/test_device.h"

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

class Options : public testing::Test {
  protected:
    void SetUp() override {
        freshDevice();
        ASSERT_NE(mkdtemp(folder_.data()), nullptr);
        setConfFolder(folder_);
        setNines();
    }
    void TearDown() override {
        std::filesystem::remove_all(folder_);
        freshDevice();
    }
    static void setNines() {
        const Text<32> nine("/nine");
        getSysCtrl().config = {9, 9, 9, 9, 9, nine, 9, nine, 9};
    }
    void write(const char* file, const std::string& text) const {
        std::ofstream(folder_ + "/" + file, std::ios::binary) << text;
    }
    std::string folder_ = "/tmp/vm1905-XXXXXX";
    LogCapture log_{2};
};

TEST_F(Options, FileIsReadLikeThis) {
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
        // A key counts anywhere in its line, the first of the list; the value is the second word.
        {"my DEBUG_LEVEL=4\nxLOG_INDEXx=5", "0 1 256 1 1" + folders + "5"},
        {"LOG_INDEX=2 ENABLE_LOG=7", "3 1 256 1 1 /tmp 2 /etc/vm1905 0"},
        {"DEBUG_LEVEL=260\nENABLE_NET_TOPOL=7\nMAX_CHANGE_LOG_ENTRIES=300\nENABLE_LOG=yes",
         "4 7 300 1 1" + folders + "0"},  // numbers are not checked
        {"LOG_FOLDER=" + xs, "3 1 256 1 1 /tmp 0 " + xs.substr(0, 31) + " 0"},
        // A line is cut after 127 characters; the rest is a line of its own.
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

TEST_F(Options, MissingFileTouchesNothing) {
    EXPECT_EQ(initSysConfig(), kFailure);
    EXPECT_EQ(options(), "9 9 9 9 9 /nine 9 /nine 9");
    EXPECT_EQ(occurrences(log_.text(), "can't open file: " + folder_ + "/vm1905.conf\r\n"), 1U);
    EXPECT_EQ(setDefSysConfig(), kOk);
    EXPECT_EQ(options(), kDefaults);
}

TEST_F(Options, IdentityVersionsAndRunningLevel) {
    write("vm1905.conf", "DEBUG_LEVEL=4\n");
    fakePlatform().hostname = std::string(200, 'h');
    EXPECT_EQ(initSysConfig(), kOk);
    EXPECT_EQ(sys_getDevicehostname(), std::string(127, 'h'));
    EXPECT_EQ(versions(), "        ") << "empty without a file";
    // Meant: DEBUG_LEVEL acts while the files are read, and 3 is what stays.
    EXPECT_TRUE(fakePlatform().called("setNetCtrlDebugLevel 4"));
    EXPECT_EQ(getDebugLevel() * 10 + getDebugLevelOption(), 34);
    write("vm1905_Version",
          "AppVersion=\nL2DeviveCtrl=3\nWiFiAutoCfg=4\nWiFiOnOff=5\nFwUpgrade=6\n"
          "#LEDOnOff=7\nDSI\nvm1905Version=9\n");
    EXPECT_EQ(initVersion(), kOk);
    EXPECT_EQ(versions(), "1.0 3 4 5 6 0 0 9 ");
}

int notifications;

TEST_F(Options, SettersTellWhatChanged) {
    notifications = 0;
    AlTable& al = createDatabase();
    al.enableIntfPwrCtrlFromNbr = 1;
    upcalls().requestSendTopolNtfMsg = [] { return ++notifications; };
    for (const int expected : {kOk, kUnchanged}) {
        for (const int result : {setDebugLevelOption(5), setEnableRebootFromNbrOption(1),
                                 setEnableIntfPwrCtrlFromNbrOption(0), setEnableLogOption(1),
                                 setMaxChangeLogEntriesOption(256)})
            EXPECT_EQ(result, expected);
        EXPECT_EQ(setLogIndexOption(3), kOk) << "meant: also when it is that already";
    }
    // Meant: stored with a limit, passed on and compared without.
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
    EXPECT_EQ(getDebugLevel(), 2) << "the running level is another matter";
}

}  // namespace
