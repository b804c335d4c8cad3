// Entry point: command line, start-up in a fixed order, teardown, restart.
#include <fcntl.h>
#include <signal.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <string_view>

#include "base/log.h"
#include "base/result.h"
#include "base/service_manager.h"
#include "controller/firmware_upgrade.h"
#include "daemon/command_line.h"
#include "daemon/confinement.h"
#include "daemon/control_files.h"
#include "daemon/device_state.h"
#include "daemon/main_loop.h"
#include "daemon/message_monitor.h"
#include "db/data_manager.h"
#include "db/options.h"
#include "db/own_state.h"
#include "db/sys_ctrl.h"
#include "handlers/message_log.h"
#include "net/message_integrity.h"
#include "platform/autoconfig.h"
#include "platform/lifecycle.h"
#include "publish/data_model_files.h"
#include "service/service_monitor.h"

// The platform library may lack it.
extern "C" decltype(setExcludeDefaultRoute) setExcludeDefaultRoute __attribute__((weak));

namespace {

// Opens closed standard streams. Otherwise a socket or a file of the daemon would get the number of
// standard output, and the log would be written to it.
void keepStandardStreams() {
    int fd = 0;
    do {
        fd = open("/dev/null", O_RDWR);
    } while (fd >= 0 && fd <= STDERR_FILENO);
    if (fd >= 0) close(fd);
}

// A table with half of a change is worse than a restart. LOG would need memory itself.
[[noreturn]] void endWithoutMemory() {
    constexpr std::string_view kText = "[vm1905] out of memory, ending\n";
    (void)!write(STDOUT_FILENO, kText.data(), kText.size());
    _exit(EXIT_FAILURE);
}

bool isSwitch(int value) {
    return value == 0 || value == 1;
}

// Options from the command line override the file's.
void applyOptions(const CommandLine& line) {
    if (line.debugLevel >= 0 && line.debugLevel <= 5) {
        const auto level = static_cast<uint8_t>(line.debugLevel);
        setDebugLevelOption(level);
        setDebugLevel(level);
    }
    if (isSwitch(line.topolCap)) {
        LOG(3, "set network topology capability to (%d) from argument\r\n", line.topolCap);
        setEnableNetTopolOption(static_cast<uint32_t>(line.topolCap));
    }
    if (isSwitch(line.reboot)) {
        LOG(3, "set reboot configuration value to (%d) from argument\r\n", line.reboot);
        setEnableRebootFromNbrOption(static_cast<uint32_t>(line.reboot));
    }
    if (isSwitch(line.powerCtrl)) {
        LOG(3, "set interface power control configuration value to (%d) from argument\r\n",
            line.powerCtrl);
        setEnableIntfPwrCtrlFromNbrOption(static_cast<uint32_t>(line.powerCtrl));
    }
    if (isSwitch(line.enableLog)) {
        LOG(3, "set enable log configuration value to (%d) from argument\r\n", line.enableLog);
        setEnableLogOption(static_cast<uint32_t>(line.enableLog));
    }
}

struct Init {
    int (*run)();
    const char* failure;
};

// An uplink that takes part although it must not would show the mesh to the provider.
int initExclusion() {
    if (!getExcludeDefaultRouteOption()) return kOk;
    if (setExcludeDefaultRoute != nullptr) {
        setExcludeDefaultRoute(1);
        return kOk;
    }
    LOG_PUTS(1, "EXCLUDE_DEFAULT_ROUTE is set, but the platform library cannot exclude by route\r");
    return kFailure;
}

constexpr Init kInits[] = {
    {initConfinement, "failed to initialize the confinement\r"},
    {claimNamesForUser, "failed to claim the names of files and segments\r"},
    {initMessageIntegrity, "failed to initialize the key of the mesh\r"},
    {giveUpRights, "failed to give up rights\r"},
    {initExclusion, "failed to exclude the default route\r"},
    {initNetCtrl, "failed to initialize network controller\r"},
    {initDataManager, "failed to initialize data manager\r"},
    {initMessageMonitor, "failed to initialize message monitor\r"},
    {initServiceMonitor, "failed to initialize service monitor\r"},
    {closeConfinement, "failed to limit the system calls\r"},
};

// Hands the start-up switches to the platform.
void applySwitches(const CommandLine& line) {
    // Meant: only the device type is checked, not the other two.
    if (isSwitch(line.deviceType)) {
        LOG(3, "set DeviceType configuration value to (%d) from argument\r\n", line.deviceType);
        LOG(3, "set SendSearchMsg configuration value to (%d) from argument\r\n", line.sendSearch);
        LOG(3, "set SendResponseMsg configuration value to (%d) from argument\r\n",
            line.sendResponse);
        (void)setWPSConfig(line.deviceType, line.sendSearch, line.sendResponse);
        updateWPSConfig();
    }
    if (isSwitch(line.wifiReload)) {
        LOG(3, "set Device WiFi reload flag(%d)\r\n", line.wifiReload);
        (void)setWiFiReloadFlag(line.deviceType, line.wifiReload);
    }
    (void)setWPSConfByBand("All", line.sendSearch, line.sendResponse);
    if (isSwitch(line.approve)) {
        LOG(3, "set Device Approve flag(%d)\r\n", line.approve);
        (void)setApproveFlag_flag(line.approve);
    }
}

}  // namespace

int main(int argc, char** argv) {
    keepStandardStreams();
    std::set_new_handler(endWithoutMemory);
    // The program that reads the log may end. runShell and the platform library restore the signal
    // for the programs that they run.
    (void)signal(SIGPIPE, SIG_IGN);
    // It lives as long as the process.
    useDevice(*new DeviceState);
    printf("** vm1905 Version : %s **\n", kReleaseVersionGit);
    Outputlog("[vm1905] ** vm1905 Version : %s **", kReleaseVersionGit);

    CommandLine line;
    if (!parseCommandLine(argc, argv, line)) {
        printUsage(argv[0]);
        return EXIT_SUCCESS;
    }
    installUpcalls();
    setDeviceModelType(line.modelName);
    setConfFolder(line.confFolder);
    const int configured = initSysConfig();
    // With the defaults it would obey strangers and use interfaces that the owner has excluded.
    if (configured == kInvalidState) return EXIT_FAILURE;
    if (configured != kOk) {
        LOG_PUTS(2, "failed to initialize system configuration\r");
        setDefSysConfig();
        setDebugLevel(getDebugLevelOption());
    }
    applyOptions(line);

    for (const Init& init : kInits) {
        if (init.run() == kOk) continue;
        LOG(1, "%s\n", init.failure);
        return EXIT_FAILURE;
    }
    applySwitches(line);
    updateFWUpgradeStatus(0, 0);
    const bool hasFailed = runStateMachine() != kOk && getSysState() != kStopped;

    writeWaitingDataModelFiles();
    writeWaitingMsgLog();
    (void)destroyNetCtrl();
    (void)destroyMessageMonitor();
    (void)destroyServiceMonitor();
    destroyDataManager();
    if (restartRequested()) {
        LOG_PUTS(3, "IEEE1905 restart ...\r");
        (void)startNextDaemon();
    }
    // A service manager starts the daemon again only after a failure.
    return hasFailed && hasServiceManager() ? EXIT_FAILURE : EXIT_SUCCESS;
}
