// A simulated mesh whose first device writes its JSON files into FOLDER/model, at most 31
// characters, and the copies for a web server into FOLDER/data. Reads commands:
//   device NAME PARENT PORT SIGNAL STATIONS   add a device. PARENT is - for the first one, PORT
//                                             wire, radio or hub, SIGNAL of the radio in percent
//   run SECONDS, kill NAME, start NAME, password TEXT
// and prints a line after each, when the files are up to date.
#include <iostream>
#include <map>
#include <sstream>

#include "base/state.h"
#include "controller/root_ap.h"
#include "db/database.h"
#include "db/options.h"
#include "db/own_state.h"
#include "publish/data_model_files.h"
#include "publish/json_data_model.h"
#include "sim/mesh.h"

namespace {

constexpr size_t kWires = 6;

struct Member {
    sim::Device device;
    MacAddr mac;  // of the first interface; the others follow
    int wires = 0;
    std::optional<sim::Segment> cell{};  // of its access point
    std::optional<sim::Segment> hub{};   // at its first port
};

MacAddr intfMac(const Member& member, int number) {
    MacAddr mac = member.mac;
    mac.b[5] = static_cast<uint8_t>(mac.b[5] + number);
    return mac;
}

WifiStation station(const MacAddr& mac, int signal) {
    WifiStation made{};
    std::copy(mac.b.begin(), mac.b.end(), made.mac);
    made.mediaType = 0x0105;
    made.rate = static_cast<uint16_t>(signal * 13);
    made.rssi = static_cast<uint16_t>(signal / 2 - 5);
    made.signalLevel = static_cast<uint16_t>(signal);
    snprintf(made.tx, sizeof made.tx, "%d Mb/s", signal * 13);
    snprintf(made.rx, sizeof made.rx, "%d Mb/s", signal * 11);
    return made;
}

class Scene {
  public:
    explicit Scene(std::string folder) : folder_(std::move(folder)) {}

    void add(const std::string& name, const std::string& parent, const std::string& port,
             int signal, int stations) {
        const auto number = static_cast<uint8_t>(members_.size() + 1);
        const auto high = static_cast<uint8_t>((members_.size() + 1) >> 8);
        const bool isOnHub = port == "hub";  // there are many of those, so they have few ports
        sim::DeviceOptions options{.intfs = {"uplink", "lan1"}, .forwards = !isOnHub};
        for (size_t i = 2; i < kWires && !isOnHub; i++) {
            options.intfs.push_back("lan" + std::to_string(i));
        }
        if (!isOnHub) options.intfs.insert(options.intfs.end(), {"radio", "backhaul"});
        const bool isFirst = members_.empty(), isRadio = port == "radio";
        options.options = "DATA_MODEL_FOLDER = /dev/null\n";  // until write()
        const MacAddr peer = isRadio ? intfMac(members_.at(parent), kWires) : MacAddr{};
        options.prepare = [=] {
            FakePlatform& platform = fakePlatform();
            platform.wps.deviceType = isFirst ? 0 : 1;
            stateOf<RootAp>().folder = "/dev/null";
            platform.deviceIP = "192.0.2." + std::to_string(number);
            platform.deviceUptime = "4 days";
            if (isOnHub) return;
            for (const size_t i : {kWires, kWires + 1}) {
                platform.intfs[i].mediaType = 0x0105;
                platform.intfs[i].mediaInfo.resize(10);
            }
            platform.intfs[kWires + 1].mediaInfo[6] = 0x40;
            if (isRadio) platform.stations.push_back(station(peer, signal));
            for (int i = 0; i < stations; i++) {
                const MacAddr mac{6, 0, 0, high, number, static_cast<uint8_t>(i)};
                platform.intfs[kWires].nbrs.push_back(mac);
                platform.stations.push_back(station(mac, 95 - 25 * i % 80));
            }
        };
        Member added{mesh_.addDevice(name, options), {0x02, 0x19, 0x05, high, number, 1}};
        if (!isFirst) connect(added, members_.at(parent), port, signal);
        members_.emplace(name, added);
        if (isFirst) first_ = added.device;
        afterStart_.push_back([=, this] { (void)mesh_.in(added.device, updateWPSConfig); });
    }
    void run(int seconds) {
        mesh_.run();
        for (const auto& act : std::exchange(afterStart_, {})) act();
        mesh_.run(seconds);
    }
    void kill(const std::string& name) { mesh_.kill(members_.at(name).device); }
    void start(const std::string& name) {
        mesh_.start(members_.at(name).device);
        (void)mesh_.in(members_.at(name).device, updateWPSConfig);
    }
    void setPassword(const std::string& text) {
        mesh_.in(first_, [&] { getAlTable()->security.value.assign(text.begin(), text.end()); });
    }
    void write() {
        mesh_.in(first_, [this] {
            (void)setDataModelFolderOption((folder_ + "/model").c_str());
            setWebFolderOption(folder_ + "/data");
            (void)writeJsonDataModel();
            writeWaitingDataModelFiles();
            (void)setDataModelFolderOption("/dev/null");
            setWebFolderOption("");
        });
    }

  private:
    void connect(const Member& added, Member& parent, const std::string& port, int signal) {
        if (port == "hub") {
            if (!parent.hub) parent.hub = mesh_.segment({{parent.device, "lan1"}});
            mesh_.attach(*parent.hub, {added.device, "uplink"});
            return;
        }
        if (port == "wire") {
            const std::string next = "lan" + std::to_string(++parent.wires);
            mesh_.cable(parent.device, next, added.device, "uplink");
            return;
        }
        if (!parent.cell) parent.cell = mesh_.segment({{parent.device, "radio"}});
        mesh_.attach(*parent.cell, {added.device, "backhaul"});
        const WifiStation child = station(intfMac(added, kWires + 1), signal);
        afterStart_.push_back([this, device = parent.device, child] {
            mesh_.in(device, [&] { fakePlatform().stations.push_back(child); });
        });
    }

    std::string folder_;
    sim::Mesh mesh_;
    std::map<std::string, Member> members_;
    sim::Device first_{};
    std::vector<std::function<void()>> afterStart_;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: web_scene FOLDER\n";
        return 2;
    }
    Scene scene(argv[1]);
    for (std::string line; std::getline(std::cin, line);) {
        std::istringstream words(line);
        std::string command, name, parent, port;
        int number = 0, stations = 0;
        words >> command;
        if (command == "device" && words >> name >> parent >> port >> number >> stations) {
            scene.add(name, parent, port, number, stations);
        } else if (command == "run" && words >> number) {
            scene.run(number);
            scene.write();
        } else if (command == "kill" && words >> name) {
            scene.kill(name);
        } else if (command == "start" && words >> name) {
            scene.start(name);
        } else if (command == "password" && words >> name) {
            scene.setPassword(name);
        } else {
            std::cerr << "unknown: " << line << "\n";
            return 2;
        }
        std::cout << command << std::endl;
    }
}
