#include "sim/device.h"

#include <fstream>
#include <stdexcept>

#include "base/result.h"
#include "controller/firmware_upgrade.h"
#include "daemon/main_loop.h"
#include "db/data_manager.h"
#include "db/options.h"
#include "net/message_integrity.h"

namespace sim {
namespace {

void preparePlatform(const DeviceOptions& options, const Site& site) {
    FakePlatform& platform = fakePlatform();
    platform.alMac = site.alMac;
    platform.hostname = site.name;
    platform.intfs.clear();
    platform.brdgTuples = {{}};
    for (const auto& [name, mac] : site.intfs) {
        platform.intfs.push_back({.name = name, .mac = mac});
        platform.brdgTuples[0].push_back(mac);
    }
    fakeNet().addPlatformIntfs();
    if (options.prepare) options.prepare();
}

void startDaemon(const DeviceOptions& options, const Site& site) {
    std::ofstream(site.folder + "/vm1905.conf")
        << "DATA_MODEL_FOLDER=" << site.folder << "\nLOG_FOLDER=" << site.folder << "\n"
        << options.options;
    std::ofstream(site.folder + "/vm1905_Version") << options.versions;
    const uint8_t debugLevel = DEBUGLEVEL;
    setConfFolder(site.folder);
    const bool isConfigured = initSysConfig() == kOk;
    DEBUGLEVEL = debugLevel;  // the configuration has set it
    installUpcalls();
    if (!isConfigured || initMessageIntegrity() != kOk || initNetCtrl() != kOk ||
        initDataManager() != kOk || initMessageMonitor() != kOk || initServiceMonitor() != kOk) {
        throw std::runtime_error(site.name + ": the daemon cannot be initialized");
    }
    (void)updateFWUpgradeStatus(0, 0);
    if (startControllers() != kOk) {
        throw std::runtime_error(site.name + ": the daemon cannot be started");
    }
}

}  // namespace

RunningDevice::RunningDevice(const DeviceOptions& options, const Site& site) {
    useDevice(device_);
    preparePlatform(options, site);
    startDaemon(options, site);
}

void step() {
    fakePlatform().calls.clear();  // not used here, and a device may run for days
    do {
        if (runPass() != kOk) throw std::runtime_error("the main loop ended");
    } while (fakeNet().lastReady > 0);
}

void changeLed() {
    (void)fakePlatform().raiseNetStatus(NET_STATUS_LED, "on");
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
