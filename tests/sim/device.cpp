#include "sim/device.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>

#include "base/log.h"
#include "base/result.h"
#include "controller/firmware_upgrade.h"
#include "daemon/main_loop.h"
#include "daemon/message_monitor.h"
#include "db/data_manager.h"
#include "db/database.h"
#include "db/options.h"
#include "orders/slots.h"
#include "publish/json_change_log.h"
#include "publish/json_data_model.h"
#include "service/service_monitor.h"
#include "service/wake_fifo.h"
#include "support/fake_platform.h"
#include "support/fake_raw_socket.h"

namespace sim {
namespace {

const Site* here = nullptr;

[[noreturn]] void die(const char* why) {
    fprintf(stderr, "%s\n", why);
    fflush(nullptr);
    _exit(EXIT_FAILURE);
}

Seconds readClock() {
    return here->clock->load();
}

void preparePlatform(const DeviceOptions& options) {
    FakePlatform& platform = fakePlatform();
    platform.alMac = here->alMac;
    platform.hostname = here->name;
    platform.intfs.clear();
    platform.brdgTuples = {{}};
    for (const auto& [name, mac, cable] : here->intfs) {
        platform.intfs.push_back({.name = name, .mac = mac});
        platform.brdgTuples[0].push_back(mac);
    }
    fakeNet().addPlatformIntfs();
    for (const auto& intf : here->intfs) fakeNet().find(intf.name)->cable = intf.cable;
    if (options.prepare) options.prepare();
}

void startDaemon(const DeviceOptions& options) {
    std::ofstream(here->folder + "/vm1905.conf")
        << "DATA_MODEL_FOLDER=" << here->folder << "\nLOG_FOLDER=" << here->folder << "\n";
    std::ofstream(here->folder + "/vm1905_Version") << options.versions;
    setConfFolder(here->folder);
    if (initSysConfig() != kOk) die("the configuration cannot be read");
    (void)setDebugLevel(options.debugLevel);
    installUpcalls();
    usePrivateSlots();
    setWakeFifoPath(nullptr);
    if (initNetCtrl() != kOk || initDataManager() != kOk || initMessageMonitor() != kOk ||
        initServiceMonitor() != kOk) {
        die("the daemon cannot be initialized");
    }
    (void)updateFWUpgradeStatus(0, 0);
    if (startControllers() != kOk) die("the daemon cannot be started");
}

// Ends as main() does, so that what is left over is found.
[[noreturn]] void stopDaemon() {
    (void)destroyNetCtrl();
    (void)destroyMessageMonitor();
    (void)destroyServiceMonitor();
    (void)destroyDataManager();
    exit(EXIT_SUCCESS);
}

// The sign at its end makes a message of an empty text, too.
void reply(const std::string& text) {
    const std::string message = text + '.';
    if (send(here->control, message.data(), message.size(), MSG_NOSIGNAL) < 0) die("no reply");
}

}  // namespace

void runDevice(const DeviceOptions& options, const Site& site) {
    here = &site;
    if (freopen((site.folder + "/log").c_str(), "a", stdout) == nullptr ||
        dup2(STDOUT_FILENO, STDERR_FILENO) < 0) {
        die("no log");
    }
    setClockSource(readClock);
    preparePlatform(options);
    startDaemon(options);
    reply("");
    Command command = nullptr;
    while (recv(site.control, &command, sizeof command, 0) > 0) reply(command());
    stopDaemon();
}

std::string step() {
    fakePlatform().calls.clear();  // nobody asks for them here, and a device may run for days
    do {
        if (runPass() != kOk) die("the main loop ended");
    } while (fakeNet().lastReady > 0);
    return {};
}

std::string changeLed() {
    (void)fakePlatform().raiseNetStatus(NET_STATUS_LED, "on");
    return {};
}

std::string writeDataModel() {
    (void)writeJsonDataModel();
    return {};
}

std::string writeChangeLog() {
    (void)writeJsonvm1905log();
    return {};
}

std::string tableSizes() {
    const AlTable& al = *getAlTable();
    std::string sizes = "changes " + std::to_string(al.topol.changeLogNum) + ", neighbors " +
                        std::to_string(al.nbrDevs.size());
    for (const auto& intf : al.intfs) {
        sizes += ", " + std::string(intf.name.view()) + " " + std::to_string(intf.nbrs.size());
    }
    for (const auto& dev : al.topol.devs) {
        sizes += ", device";
        for (const size_t size :
             {dev.intfs.size(), dev.non1905Lists.size(), dev.non1905NbrNum(),
              dev.ieee1905Lists.size(), dev.ieee1905NbrNum(), dev.brdgTuples.size()}) {
            sizes += " " + std::to_string(size);
        }
    }
    return sizes;
}

}  // namespace sim
