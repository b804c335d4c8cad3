#include "sim/device.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <fstream>
#include <stdexcept>

#include "controller/firmware_state.h"
#include "core/log.h"
#include "core/main_loop.h"
#include "core/options.h"
#include "core/result.h"
#include "datamodel/json_change_log.h"
#include "datamodel/json_data_model.h"
#include "service/service_monitor.h"
#include "service/slots.h"
#include "service/wake_fifo.h"
#include "support/fake_platform.h"
#include "support/fake_raw_socket.h"
#include "topology/data_manager.h"
#include "transport/message_monitor.h"

namespace sim {
namespace {

constexpr size_t kMaxMessage = 1 << 16;

const Site* here = nullptr;
std::deque<std::function<void()>> events;  // for the platform library to report

[[noreturn]] void die(const char* why) {
    fprintf(stderr, "%s\n", why);
    fflush(nullptr);
    _exit(EXIT_FAILURE);
}

Seconds readClock() {
    return here->clock->load();
}

// Low descriptors must be free for the daemon's select, and no device may hold another's cable.
void closeForeignDescriptors() {
    std::vector<unsigned> own{STDERR_FILENO, static_cast<unsigned>(here->control)};
    for (const auto& intf : here->intfs) own.push_back(static_cast<unsigned>(intf.cable));
    std::sort(own.begin(), own.end());
    for (size_t i = 0; i < own.size(); i++) {
        const unsigned last = i + 1 < own.size() ? own[i + 1] - 1 : ~0U;
        if (own[i] + 1 <= last) (void)close_range(own[i] + 1, last, 0);
    }
}

void redirectOutput() {
    const int log = open((here->folder + "/log").c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600);
    if (log < 0 || dup2(log, STDOUT_FILENO) < 0 || dup2(log, STDERR_FILENO) < 0) die("no log");
    close(log);
}

// The kernel and the platform library know the interface; it is in the bridge.
void bring(const SiteIntf& intf) {
    fakePlatform().intfs.push_back({.name = intf.name, .mac = intf.mac});
    fakePlatform().brdgTuples.at(0).push_back(intf.mac);
    fakeNet().addIntf(intf.name, intf.ifIndex).cable = intf.cable;
}

int reportEvents() {
    for (; !events.empty(); events.pop_front()) events.front()();
    return kOk;
}

void preparePlatform(const DeviceOptions& options) {
    FakePlatform& platform = fakePlatform();
    platform.reset();
    platform.alMac = here->alMac;
    platform.hostname = here->name;
    platform.intfs.clear();
    platform.brdgTuples = {{}};
    platform.onRun = reportEvents;
    for (const auto& intf : here->intfs) bring(intf);
    if (options.prepare) options.prepare();
}

void startDaemon(const DeviceOptions& options) {
    std::ofstream(here->folder + "/vm1905.conf")
        << "DATA_MODEL_FOLDER=" << here->folder << "\nLOG_FOLDER=" << here->folder << "\n";
    if (!options.versions.empty()) {
        std::ofstream(here->folder + "/vm1905_Version") << options.versions;
    }
    setConfFolder(here->folder);
    if (initSysConfig() != kOk) die("the configuration cannot be read");
    (void)setDebugLevel(options.debugLevel);
    installRequestHandlers();
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

void reply(char status, const std::string& text) {
    const std::string message = status + text;
    if (send(here->control, message.data(), message.size(), MSG_NOSIGNAL) < 0) die("no reply");
}

}  // namespace

void runDevice(const DeviceOptions& options, const Site& site) {
    here = &site;
    closeForeignDescriptors();
    redirectOutput();
    setClockSource(readClock);
    preparePlatform(options);
    startDaemon(options);
    reply('+', "");

    std::vector<char> message(kMaxMessage);
    for (;;) {
        const ssize_t size = recv(site.control, message.data(), message.size(), 0);
        if (size == 0) stopDaemon();
        Command command = nullptr;
        if (size < static_cast<ssize_t>(sizeof command)) die("no command");
        std::memcpy(&command, message.data(), sizeof command);
        try {
            reply('+', command({message.begin() + sizeof command, message.begin() + size}));
        } catch (const std::exception& failure) {
            reply('-', failure.what());
        }
    }
}

std::string step(const std::string&) {
    fakePlatform().calls.clear();  // nobody asks for them here, and a device may run for days
    do {
        if (runPass() != kOk) throw std::runtime_error("the main loop ended");
    } while (fakeNet().lastReady > 0);
    return {};
}

std::string changeLed(const std::string& text) {
    events.emplace_back([=] { (void)fakePlatform().raiseNetStatus(NET_STATUS_LED, text.c_str()); });
    return {};
}

std::string writeDataModel(const std::string&) {
    (void)writeJsonDataModel();
    return {};
}

std::string writeChangeLog(const std::string&) {
    (void)writeJsonvm1905log();
    return {};
}

std::string tableSizes(const std::string&) {
    const AlTable& al = *getAlTable();
    std::string sizes = "changes " + std::to_string(al.topol.changeLogNum) + ", neighbors " +
                        std::to_string(al.nbrDevs.size());
    for (const auto& intf : al.intfs) {
        sizes += ", " + std::string(intf.name.view()) + " " + std::to_string(intf.nbrs.size());
    }
    for (const auto& dev : al.topol.devs) {
        sizes += ", device " + std::to_string(dev.intfs.size()) + "/" +
                 std::to_string(dev.non1905Lists.size()) + "/" +
                 std::to_string(dev.non1905NbrNum()) + "/" +
                 std::to_string(dev.ieee1905Lists.size()) + "/" +
                 std::to_string(dev.ieee1905NbrNum()) + "/" + std::to_string(dev.brdgTuples.size());
    }
    return sizes;
}

}  // namespace sim
