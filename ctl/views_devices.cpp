// The views of devices: this one, all, and one in detail.
#include <algorithm>
#include <set>

#include "daemon_process.h"
#include "failure.h"
#include "views.h"
#include "words.h"

namespace {

struct Status {
    vm1905_al al;
    vm1905_topology topology;
    vm1905_mesh_key key;
    std::string name;
    const ModelDevice* model;
    unsigned changes;
    std::optional<bool> mayReboot, maySetPower;
    std::string otherRegistrar;
    pid_t pid;
    std::string version;
    std::optional<int64_t> uptime;
    std::optional<size_t> ports;
};

// Only shown in standard mode.
Json standardModeOf(const ModelDevice& device) {
    const std::string value = device.text("StandardMode");
    return value.empty() ? Json() : Json(value == "true");
}

constexpr Column<Status> kStatus[] = {
    {"daemon", "Daemon",
     [](const Status& s) {
         return Json(s.al.no_port != 0 ? "running, but no port is open" : "running");
     }},
    {"version", "Version", [](const Status& s) { return known(s.version); }},
    {"release", "Release",
     [](const Status& s) { return s.model ? known(s.model->text("ReleaseVersion")) : Json(); }},
    {"pid", "Process", [](const Status& s) { return s.pid > 0 ? Json(s.pid) : Json(); }},
    {"uptime", "Running for", [](const Status& s) { return known(s.uptime); }, Unit::kSeconds,
     kRestless},
    {"name", "Name", [](const Status& s) { return known(s.name); }},
    {"al_mac", "AL MAC", [](const Status& s) { return Json(Mac(s.al.al_mac).text()); }},
    {"role", "Role", [](const Status& s) { return roleOf(s.model); }},
    {"status", "Status", [](const Status& s) { return statusWord(s.al.status); }},
    {"age", "Last change", [](const Status& s) { return Json(s.al.age); }, Unit::kSeconds,
     kRestless},
    {"interfaces", "Interfaces", [](const Status& s) { return Json(s.al.intf_num); }},
    {"ports", "Open ports", [](const Status& s) { return known(s.ports); }},
    {"topology_enabled", "Topology on",
     [](const Status& s) { return Json(s.topology.enable != 0); }},
    {"topology", "Topology", [](const Status& s) { return topologyWord(s.topology.status); }},
    {"other_devices", "Other devices", [](const Status& s) { return Json(s.topology.dev_num); }},
    {"changes", "Changes kept", [](const Status& s) { return Json(s.changes); }},
    // Only the low byte is known, which is 0 for the default, 256.
    {"changes_max", "Kept at most",
     [](const Status& s) { return Json(s.topology.log_max == 0 ? 256 : s.topology.log_max); }},
    {"allow_reboot", "Reboot by others", [](const Status& s) { return known(s.mayReboot); }},
    {"allow_power", "Power by others", [](const Status& s) { return known(s.maySetPower); }},
    {"mesh_key", "Mesh key",
     [](const Status& s) {
         return wordOf({"not used", "used", "used, but no orders can be sent"}, s.key.state);
     }},
    {"refused", "Refused without it",
     [](const Status& s) { return s.key.state == 0 ? Json() : Json(s.key.refused); }, Unit::kNone,
     kRestless},
    {"standard_mode", "Standard mode",
     [](const Status& s) { return s.model ? standardModeOf(*s.model) : Json(); }},
    {"other_registrar", "Other Registrar", [](const Status& s) { return known(s.otherRegistrar); }},
    {"firmware_state", "Firmware state",
     [](const Status& s) { return s.model ? known(s.model->text("FirmwareState")) : Json(); }},
    {"backhaul", "Backhaul",
     [](const Status& s) { return s.model ? known(s.model->text("Backhaultype")) : Json(); }},
};

constexpr Column<Interface> kInterfaces[] = {
    {"name", "NAME", [](const Interface& i) { return known(i.name); }},
    {"mac", "MAC", [](const Interface& i) { return Json(i.mac.text()); }},
    {"media", "MEDIUM", [](const Interface& i) { return known(i.media); }},
    {"media_type", "", [](const Interface& i) { return Json(i.mediaType); }, Unit::kNone, kHidden},
    {"power", "POWER", [](const Interface& i) { return powerWord(i.power); }},
    {"status", "STATUS",
     [](const Interface& i) { return i.status ? statusWord(*i.status) : Json(); }, Unit::kState},
    {"bridge", "BRIDGE", [](const Interface& i) { return known(i.bridge); }},
    {"age", "LAST CHANGE", [](const Interface& i) { return i.status ? Json(i.age) : Json(); },
     Unit::kSeconds, kRestless},
};

Json member(const Device& device, const char* name) {
    return device.model == nullptr ? Json() : known(device.model->text(name));
}

size_t neighborsOf(const Device& device, bool devices) {
    std::set<Mac> macs;
    for (const Heard& heard : device.heard) {
        if (heard.isDevice == devices) macs.insert(heard.mac);
    }
    return macs.size();
}

Json reportedBy(const Device& device, const char* name) {
    if (device.model == nullptr || !device.model->members.is_object()) return {};
    const auto found = device.model->members.find(name);
    if (found == device.model->members.end()) return {};
    const bool isEmpty = (found->is_string() && (*found == "" || *found == "Unknown")) ||
                         (found->is_array() && found->empty());
    return isEmpty ? Json() : *found;
}

// In seconds; the text of the device if it is no number.
Json uptimeReported(const Device& device) {
    const Json value = reportedBy(device, "DeviceUptime");
    if (!value.is_string()) return value;
    const auto text = value.get<std::string>();
    const bool isNumber =
        text.size() < 12 && text.find_first_not_of("0123456789") == std::string::npos;
    return isNumber ? Json(std::stoll(text)) : value;
}

constexpr Column<Device> kDevices[] = {
    {"name", "NAME", [](const Device& d) { return known(d.name); }},
    {"al_mac", "AL MAC", [](const Device& d) { return Json(d.alMac.text()); }},
    {"role", "ROLE", [](const Device& d) { return roleOf(d.model); }},
    {"own", "THIS", [](const Device& d) { return Json(d.isOwn); }, Unit::kNone, kHidden},
    {"ip", "IP", [](const Device& d) { return known(d.ip); }},
    {"firmware", "FIRMWARE", [](const Device& d) { return known(d.firmware); }},
    {"lan_mac", "", [](const Device& d) { return known(d.lanMac); }, Unit::kNone, kHidden},
    {"silence", "LAST HEARD", [](const Device& d) { return known(d.silence); }, Unit::kSilence,
     kRestless},
    {"uptime", "UPTIME", [](const Device& d) { return uptimeReported(d); }, Unit::kSeconds,
     kHidden | kRestless},
    {"backhaul", "BACKHAUL", [](const Device& d) { return member(d, "Backhaultype"); }},
    {"mesh_key", "KEY", [](const Device& d) { return known(d.hasKey); }},
    {"standard_mode", "STANDARD",
     [](const Device& d) { return d.model ? standardModeOf(*d.model) : Json(); }},
    {"interfaces", "PORTS", [](const Device& d) { return Json(d.interfaces.size()); }},
    {"neighbors", "NEIGHBORS", [](const Device& d) { return Json(neighborsOf(d, true)); }},
    {"hosts", "HOSTS", [](const Device& d) { return Json(neighborsOf(d, false)); }},
};

// What a device reports about itself in the vendor protocol, in the order of the output.
constexpr struct {
    const char* key;
    const char* heading;
    const char* member;
} kReported[] = {
    {"role", "Role", "DeviceType"},
    {"ipv6", "IPv6 addresses", "IPv6IP"},
    {"uptime", "Uptime", "DeviceUptime"},
    {"mode", "Mode", "DeviceMode"},
    {"authorized", "Authorized", "Authorized"},
    {"firmware_state", "Firmware state", "FirmwareState"},
    {"release", "Release", "ReleaseVersion"},
    {"build", "Build", "BuildNumber"},
    {"led_status", "LED", "LEDstatus"},
    {"led_brightness", "LED brightness", "LEDBrightness"},
    {"configured", "Configured", "Configure"},
    {"backhaul", "Backhaul", "Backhaultype"},
    {"ethernet_ports", "Ethernet ports", "EthernetPortState"},
    {"channel_2g", "Channel 2.4 GHz", "WIFI24GChannel"},
    {"channel_5g", "Channel 5 GHz", "WIFI5GChannel"},
    {"channel_5g2", "Second channel 5 GHz", "WIFI5G2Channel"},
    {"ssh", "SSH", "SSHState"},
    {"telnet", "Telnet", "TelnetState"},
    {"country", "Country", "CountryCode"},
    {"wifi_country", "Wi-Fi country", "WIFICountryCode"},
    {"daisy_chain", "Daisy chain", "DaisychainOption"},
};

constexpr Column<Device> kDeviceHead[] = {
    {"name", "Name", [](const Device& d) { return known(d.name); }},
    {"al_mac", "AL MAC", [](const Device& d) { return Json(d.alMac.text()); }},
    {"own", "This device", [](const Device& d) { return Json(d.isOwn); }},
    {"ip", "IP address", [](const Device& d) { return known(d.ip); }},
    {"lan_mac", "LAN MAC", [](const Device& d) { return known(d.lanMac); }},
    {"firmware_version", "Firmware", [](const Device& d) { return known(d.firmware); }},
    {"silence", "Last heard", [](const Device& d) { return known(d.silence); }, Unit::kSilence,
     kRestless},
    {"interface_count", "", [](const Device& d) { return Json(d.interfaces.size()); }, Unit::kNone,
     kHidden},
};

Section deviceSection(Session& session, const Device& device) {
    Section section = recordOf("", "", kDeviceHead, device);
    const auto add = [&](const char* key, const char* heading, Json value, Unit unit = Unit::kNone,
                         unsigned traits = kPlain) {
        section.headings.push_back({key, heading, unit, traits});
        section.rows[0].push_back(std::move(value));
    };
    for (const auto& item : kReported) {
        const bool isUptime = std::string_view(item.key) == "uptime";
        Json value = isUptime ? uptimeReported(device) : reportedBy(device, item.member);
        if (std::string_view(item.key) == "authorized" && !value.is_null())
            value = value == "0";  // the result code of the check
        add(item.key, item.heading, std::move(value), isUptime ? Unit::kSeconds : Unit::kNone,
            isUptime ? kRestless : kPlain);
    }
    const auto option = [&](uint8_t item) {
        std::optional<bool> value;
        const Mac* const other = device.isOwn ? nullptr : &device.alMac;
        const int result = readOption(session.client(), other, item, value);
        return result == VM1905_OK ? known(value) : Json();
    };
    add("allow_reboot", "Reboot by others", option(VM1905_OPTION_REBOOT));
    add("allow_power", "Power by others", option(VM1905_OPTION_INTF_PWR));
    return section;
}

constexpr Column<std::vector<Mac>> kBridges[] = {
    {"interfaces", "BRIDGED",
     [](const std::vector<Mac>& macs) {
         Json out = Json::array();
         for (const Mac& mac : macs) out.push_back(mac.text());
         return out;
     }},
};

}  // namespace

Report showStatus(Session& session) {
    Status status{};
    status.al = session.ownRecord();
    status.topology = session.topology();
    check(vm1905_get_mesh_key(session.client(), &status.key), "the key of the mesh");
    status.changes = status.topology.log_num;
    vm1905_log_entry entry;
    // Only the low byte is known, which is also 0 if the log is full.
    if (status.changes == 0 && vm1905_get_log_entry(session.client(), 0, &entry) == VM1905_OK) {
        status.changes = 256;
    }
    status.name = session.ownName();
    status.model = session.model().find(status.al.al_mac);
    status.otherRegistrar = session.otherRegistrar();
    if (const auto daemons = daemonProcesses(); !daemons.empty()) {
        status.pid = daemons[0];
        status.version = versionOf(status.pid);
        status.uptime = uptimeOf(status.pid);
    }
    if (status.model != nullptr) {
        std::vector<std::string> names;
        for (const ModelInterface& intf : status.model->interfaces) names.push_back(intf.name);
        status.ports = openPorts(names, status.pid);
    }
    const auto read = [&](uint8_t item, std::optional<bool>& value) {
        check(readOption(session.client(), nullptr, item, value), "an option");
    };
    read(VM1905_OPTION_REBOOT, status.mayReboot);
    read(VM1905_OPTION_INTF_PWR, status.maySetPower);
    return {{recordOf("", "", kStatus, status)}};
}

Report showInterfaces(Session& session) {
    return {{listOf("interfaces", "", kInterfaces, session.ownDevice().interfaces,
                    "the daemon uses no interface")}};
}

Report showDevices(Session& session) {
    const Mesh mesh = session.mesh();
    Section devices = listOf("devices", "", kDevices, mesh.devices, "no devices");
    for (Heading& heading : devices.headings) {
        if (heading.key == "mesh_key" && mesh.key.state == 0) heading.traits = kHidden;
        if (heading.key == "standard_mode" && standardModeOf(session.model().own).is_null()) {
            heading.traits = kHidden;
        }
    }
    return {{devices}};
}

Report showDevice(Session& session, const std::string& given) {
    const Mac alMac = session.device(given);
    const Mesh mesh = session.mesh();
    const Device* const device = mesh.find(alMac);
    if (device == nullptr) check(VM1905_NO_DEVICE, alMac.text());
    return {{deviceSection(session, *device),
             listOf("interfaces", "Interfaces", kInterfaces, device->interfaces, "none"),
             linksOf("Links", mesh, device),
             listOf("bridges", "Bridges", kBridges, device->bridges, "none are known")}};
}
