#include "views.h"

#include <algorithm>

#include "failure.h"
#include "words.h"

namespace {

struct Status {
    vm1905_al al;
    vm1905_topology topology;
    std::string name;
    const ModelDevice* model;
    unsigned changes;
    Json mayReboot, maySetPower;
};

constexpr Column<Status> kStatus[] = {
    {"daemon", "Daemon", [](const Status&) { return Json("running"); }},
    {"name", "Name", [](const Status& s) { return known(s.name); }},
    {"al_mac", "AL MAC", [](const Status& s) { return Json(Mac(s.al.al_mac).text()); }},
    {"role", "Role", [](const Status& s) { return roleOf(s.model); }},
    {"status", "Status", [](const Status& s) { return statusWord(s.al.status); }},
    {"age", "Last change", [](const Status& s) { return Json(s.al.age); }, Unit::kSeconds,
     kRestless},
    {"interfaces", "Interfaces", [](const Status& s) { return Json(s.al.intf_num); }},
    {"topology_enabled", "Topology on",
     [](const Status& s) { return Json(s.topology.enable != 0); }},
    {"topology", "Topology", [](const Status& s) { return topologyWord(s.topology.status); }},
    {"other_devices", "Other devices", [](const Status& s) { return Json(s.topology.dev_num); }},
    {"changes", "Changes kept", [](const Status& s) { return Json(s.changes); }},
    // Only the low byte comes; 256, the default, is 0 then.
    {"changes_max", "Kept at most",
     [](const Status& s) { return Json(s.topology.log_max == 0 ? 256 : s.topology.log_max); }},
    {"allow_reboot", "Reboot by others", [](const Status& s) { return s.mayReboot; }},
    {"allow_power", "Power by others", [](const Status& s) { return s.maySetPower; }},
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
     [](const Interface& i) { return i.status ? statusWord(*i.status) : Json(); }},
    {"age", "LAST CHANGE", [](const Interface& i) { return i.status ? Json(i.age) : Json(); },
     Unit::kSeconds, kRestless},
};

Json member(const Device& device, const char* name) {
    return device.model == nullptr ? Json() : known(device.model->text(name));
}

size_t neighborsOf(const Device& device, bool devices) {
    std::vector<Mac> macs;
    for (const Heard& heard : device.heard) {
        if (heard.isDevice == devices) macs.push_back(heard.mac);
    }
    std::ranges::sort(macs);
    macs.erase(std::unique(macs.begin(), macs.end()), macs.end());
    return macs.size();
}

constexpr Column<Device> kDevices[] = {
    {"name", "NAME", [](const Device& d) { return known(d.name); }},
    {"al_mac", "AL MAC", [](const Device& d) { return Json(d.alMac.text()); }},
    {"role", "ROLE", [](const Device& d) { return roleOf(d.model); }},
    {"own", "THIS", [](const Device& d) { return d.isOwn ? Json(true) : Json(false); }, Unit::kNone,
     kHidden},
    {"ip", "IP", [](const Device& d) { return member(d, "DeviceIP"); }},
    {"firmware", "FIRMWARE", [](const Device& d) { return member(d, "FirmwareVersion"); }},
    {"backhaul", "BACKHAUL", [](const Device& d) { return member(d, "Backhaultype"); }},
    {"interfaces", "PORTS", [](const Device& d) { return Json(d.interfaces.size()); }},
    {"neighbors", "NEIGHBORS", [](const Device& d) { return Json(neighborsOf(d, true)); }},
    {"hosts", "HOSTS", [](const Device& d) { return Json(neighborsOf(d, false)); }},
};

// What a device tells of itself by the vendor protocol. The order is that of the output.
constexpr struct {
    const char* key;
    const char* heading;
    const char* member;
} kItems[] = {
    {"role", "Role", "DeviceType"},
    {"ip", "IP address", "DeviceIP"},
    {"ipv6", "IPv6 addresses", "IPv6IP"},
    {"lan_mac", "LAN MAC", "DeviceLANMac"},
    {"uptime", "Uptime", "DeviceUptime"},
    {"mode", "Mode", "DeviceMode"},
    {"authorized", "Authorized", "Authorized"},
    {"firmware_version", "Firmware", "FirmwareVersion"},
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
    {"interface_count", "", [](const Device& d) { return Json(d.interfaces.size()); }, Unit::kNone,
     kHidden},
};

Json itemOf(const Device& device, const char* name) {
    if (device.model == nullptr || !device.model->members.is_object()) return {};
    const auto found = device.model->members.find(name);
    if (found == device.model->members.end()) return {};
    const bool isEmpty = (found->is_string() && (*found == "" || *found == "Unknown")) ||
                         (found->is_array() && found->empty());
    return isEmpty ? Json() : *found;
}

Section deviceSection(Session& session, const Device& device) {
    Section section = recordOf("", "", kDeviceHead, device);
    const auto add = [&](const char* key, const char* heading, Json value, Unit unit = Unit::kNone,
                         unsigned traits = kPlain) {
        section.headings.push_back({key, heading, unit, traits});
        section.rows[0].push_back(std::move(value));
    };
    for (const auto& item : kItems) {
        Json value = itemOf(device, item.member);
        const bool isUptime = std::string_view(item.key) == "uptime";
        if (isUptime && value.is_string()) {
            const auto text = value.get<std::string>();
            if (text.size() < 12 && text.find_first_not_of("0123456789") == std::string::npos) {
                value = std::stoll(text);
            }
        }
        if (std::string_view(item.key) == "authorized" && !value.is_null())
            value = value == "0";  // the code of the check
        add(item.key, item.heading, std::move(value), isUptime ? Unit::kSeconds : Unit::kNone,
            isUptime ? kRestless : kPlain);
    }
    const vm1905_mac alMac = device.alMac;
    const auto option = [&](uint8_t number) {
        uint8_t value = 0;
        const int result = device.isOwn
                               ? vm1905_get_option(session.client(), number, &value)
                               : vm1905_get_dev_option(session.client(), &alMac, number, &value);
        // 255 before the device has told it.
        return result != VM1905_OK || value == 255 ? Json() : Json(value == 1);
    };
    add("allow_reboot", "Reboot by others", option(VM1905_OPTION_REBOOT));
    add("allow_power", "Power by others", option(VM1905_OPTION_INTF_PWR));
    return section;
}

struct Neighbor {
    const Mesh* mesh;
    const Device* device;
    const Heard* heard;

    const Device* other() const { return heard->isDevice ? mesh->find(heard->mac) : nullptr; }
};

Json wifiNumber(const Neighbor& n, int64_t WifiLink::*figure) {
    return n.heard->wifi ? Json((*n.heard->wifi).*figure) : Json();
}

Json metric(const Neighbor& n, Json (*value)(const vm1905_link&)) {
    return n.heard->metric ? value(*n.heard->metric) : Json();
}

Json rssiOf(const Neighbor& n) {
    if (n.heard->wifi) return n.heard->wifi->rssi;
    const Interface* const intf = n.device->intf(n.heard->localIntf);
    const bool isWifi = intf != nullptr && intf->mediaType >> 8 == 1;
    return n.heard->metric && isWifi ? Json(n.heard->metric->rssi) : Json();
}

Json mediaOf(const Neighbor& n) {
    const Interface* const intf = n.device->intf(n.heard->localIntf);
    if (n.heard->wifi && !n.heard->media.empty()) return n.heard->media;
    return intf != nullptr && !intf->media.empty() ? Json(intf->media) : known(n.heard->media);
}

Json rateOf(const Neighbor& n) {
    const Json wifi = wifiNumber(n, &WifiLink::rate);
    return !wifi.is_null() ? wifi
                           : metric(n, [](const vm1905_link& l) { return Json(l.phy_rate); });
}

constexpr Column<Neighbor> kLinks[] = {
    {"device", "DEVICE", [](const Neighbor& n) { return known(n.device->called()); }},
    {"al_mac", "", [](const Neighbor& n) { return Json(n.device->alMac.text()); }, Unit::kNone,
     kHidden},
    {"port", "PORT",
     [](const Neighbor& n) { return known(portName(*n.device, n.heard->localIntf)); }},
    {"port_mac", "", [](const Neighbor& n) { return Json(n.heard->localIntf.text()); }, Unit::kNone,
     kHidden},
    {"neighbor", "HEARS",
     [](const Neighbor& n) {
         return Json(n.other() != nullptr ? n.other()->called() : n.heard->mac.text());
     }},
    {"neighbor_mac", "", [](const Neighbor& n) { return Json(n.heard->mac.text()); }, Unit::kNone,
     kHidden},
    {"neighbor_port", "ON",
     [](const Neighbor& n) {
         return n.other() != nullptr ? known(portName(*n.other(), n.heard->intf)) : Json();
     }},
    {"kind", "KIND", [](const Neighbor& n) { return Json(n.heard->isDevice ? "device" : "host"); }},
    {"media", "MEDIUM", mediaOf},
    {"rate", "RATE", rateOf, Unit::kMbps},
    {"throughput", "THROUGHPUT",
     [](const Neighbor& n) {
         return metric(n, [](const vm1905_link& l) { return Json(l.throughput); });
     },
     Unit::kMbps},
    {"availability", "FREE",
     [](const Neighbor& n) {
         return metric(n, [](const vm1905_link& l) { return Json(l.availability); });
     },
     Unit::kPercent, kRestless},
    {"rssi", "RSSI", rssiOf, Unit::kDecibel, kRestless},
    {"signal", "SIGNAL", [](const Neighbor& n) { return wifiNumber(n, &WifiLink::signal); },
     Unit::kNone, kRestless},
    {"connection", "CONNECTION",
     [](const Neighbor& n) { return n.heard->wifi ? known(n.heard->wifi->connType) : Json(); }},
    {"tx_packets", "",
     [](const Neighbor& n) {
         return metric(n, [](const vm1905_link& l) { return Json(l.tx_packets); });
     },
     Unit::kNone, kHidden | kRestless},
    {"tx_errors", "TX ERRORS",
     [](const Neighbor& n) {
         return metric(n, [](const vm1905_link& l) { return Json(l.tx_errors); });
     },
     Unit::kNone, kRestless},
    {"rx_packets", "",
     [](const Neighbor& n) {
         return metric(n, [](const vm1905_link& l) { return Json(l.rx_packets); });
     },
     Unit::kNone, kHidden | kRestless},
    {"rx_errors", "RX ERRORS",
     [](const Neighbor& n) {
         return metric(n, [](const vm1905_link& l) { return Json(l.rx_errors); });
     },
     Unit::kNone, kRestless},
    {"bridge", "BRIDGE BETWEEN",
     [](const Neighbor& n) { return n.heard->bridge ? Json(*n.heard->bridge) : Json(); }},
};

Section linksOf(const std::string& title, const Mesh& mesh, const Device* only) {
    std::vector<Neighbor> all;
    for (const Device& device : mesh.devices) {
        if (only != nullptr && only != &device) continue;
        for (const Heard& heard : device.heard) all.push_back({&mesh, &device, &heard});
    }
    return listOf("links", title, kLinks, all, "no links are known");
}

constexpr Column<std::vector<Mac>> kBridges[] = {
    {"interfaces", "BRIDGED",
     [](const std::vector<Mac>& macs) {
         Json out = Json::array();
         for (const Mac& mac : macs) out.push_back(mac.text());
         return out;
     }},
};

struct Change {
    vm1905_log_entry entry;
    std::string reporter, neighbor, port;
};

constexpr Column<Change> kChanges[] = {
    {"time", "TIME", [](const Change& c) { return Json(c.entry.time); }, Unit::kTime},
    {"event", "EVENT",
     [](const Change& c) {
         return wordOf({"new", "lost"}, c.entry.event);
     }},
    {"neighbor", "NEIGHBOR", [](const Change& c) { return Json(c.neighbor); }},
    {"neighbor_mac", "", [](const Change& c) { return Json(Mac(c.entry.neighbor_mac).text()); },
     Unit::kNone, kHidden},
    {"neighbor_type", "KIND",
     [](const Change& c) {
         return wordOf({"device", "host"}, c.entry.neighbor_type);
     }},
    {"reporter", "SEEN BY", [](const Change& c) { return Json(c.reporter); }},
    {"reporter_mac", "", [](const Change& c) { return Json(Mac(c.entry.al_mac).text()); },
     Unit::kNone, kHidden},
    {"interface", "ON", [](const Change& c) { return known(c.port); }},
    {"interface_mac", "", [](const Change& c) { return Json(Mac(c.entry.intf_mac).text()); },
     Unit::kNone, kHidden},
};

bool areOfOnePair(const Change& a, const Change& b) {
    return Mac(a.entry.neighbor_mac) == Mac(b.entry.neighbor_mac) &&
           Mac(a.entry.al_mac) == Mac(b.entry.al_mac);
}

bool areSame(const Change& a, const Change& b) {
    return a.entry.event == b.entry.event && Mac(a.entry.intf_mac) == Mac(b.entry.intf_mac);
}

// For people: who came again without having gone in between, or went again, is told once.
Section foldedChanges(const std::vector<Change>& changes) {
    struct Fold {
        Change first;
        uint32_t last;
        int times;
    };
    std::vector<Fold> folds;
    for (const Change& change : changes) {
        const auto before = std::find_if(folds.rbegin(), folds.rend(), [&](const Fold& fold) {
            return areOfOnePair(fold.first, change);
        });
        if (before != folds.rend() && areSame(before->first, change)) {
            before->last = change.entry.time;
            before->times++;
        } else {
            folds.push_back({change, change.entry.time, 1});
        }
    }
    Section section = sectionOf("changes", "", kChanges, true);
    section.headings.push_back({"times", "TIMES", Unit::kNone, kPlain});
    section.headings.push_back({"last", "LAST", Unit::kTime, kPlain});
    for (const Fold& fold : folds) {
        auto row = rowOf(kChanges, fold.first);
        const bool isRepeated = fold.times > 1;
        row.push_back(isRepeated ? Json(fold.times) : Json());
        row.push_back(isRepeated ? Json(fold.last) : Json());
        section.rows.push_back(std::move(row));
    }
    return section;
}

constexpr Column<vm1905_fwd_rule> kRules[] = {
    {"id", "RULE", [](const vm1905_fwd_rule& r) { return Json(r.id); }},
    {"macs", "MACS", [](const vm1905_fwd_rule& r) { return Json(r.mac_num); }},
};

constexpr Column<vm1905_security> kSecurity[] = {
    {"mode", "Mode",
     [](const vm1905_security& s) {
         return wordOf({"pass phrase", "push button", "near field"}, s.mode);
     }},
    {"length", "Length", [](const vm1905_security& s) { return Json(s.length); }},
    {"value", "Setting",
     [](const vm1905_security& s) {
         return s.length == 0 ? Json() : Json(hexOf(s.value, s.length));
     }},
};

}  // namespace

Report showStatus(Session& session) {
    Status status{};
    check(vm1905_get_al(session.client(), &status.al), "this device");
    check(vm1905_get_topology(session.client(), &status.topology), "the topology");
    status.changes = status.topology.log_num;
    vm1905_log_entry entry;
    // Only the low byte comes. It is 0 as well when the log is full.
    if (status.changes == 0 && vm1905_get_log_entry(session.client(), 0, &entry) == VM1905_OK) {
        status.changes = 256;
    }
    status.name = session.ownName();
    status.model = session.model().find(status.al.al_mac);
    const auto option = [&](uint8_t item) {
        uint8_t value = 0;
        check(vm1905_get_option(session.client(), item, &value), "an option");
        return Json(value == 1);
    };
    status.mayReboot = option(VM1905_OPTION_REBOOT);
    status.maySetPower = option(VM1905_OPTION_INTF_PWR);
    return {{recordOf("", "", kStatus, status)}};
}

Report showInterfaces(Session& session) {
    vm1905_al al;
    check(vm1905_get_al(session.client(), &al), "this device");
    const Device own = readOwnDevice(session.client(), session.model(), al, session.ownName());
    return {{listOf("interfaces", "", kInterfaces, own.interfaces, "no interface takes part")}};
}

Report showDevices(Session& session) {
    const Mesh mesh = session.mesh();
    return {{listOf("devices", "", kDevices, mesh.devices, "no devices")}};
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

Report showLinks(Session& session) {
    const Mesh mesh = session.mesh();
    return {{linksOf("", mesh, nullptr)}};
}

Report showChanges(Session& session) {
    std::vector<Change> changes;
    Change change{};
    for (unsigned index = 0; index < 256; index++) {
        const int result =
            vm1905_get_log_entry(session.client(), static_cast<uint8_t>(index), &change.entry);
        if (result == VM1905_BAD_INDEX || result == VM1905_EMPTY) break;
        check(result, "the change log");
        change.neighbor = session.called(change.entry.neighbor_mac);
        change.reporter = session.called(change.entry.al_mac);
        change.port = session.portOf(change.entry.al_mac, change.entry.intf_mac);
        changes.push_back(change);
    }
    // The log is a ring.
    std::ranges::stable_sort(changes, {}, [](const Change& c) { return c.entry.time; });
    const bool isText = session.options().format == Format::kText;
    return {{isText && !changes.empty()
                 ? foldedChanges(changes)
                 : listOf("changes", "", kChanges, changes, "nobody has come or gone")}};
}

Report showForwardingRules(Session& session) {
    uint8_t num = 0;
    check(vm1905_get_fwd_rule_num(session.client(), &num), "forwarding rules");
    std::vector<vm1905_fwd_rule> rules;
    vm1905_fwd_rule rule;
    for (unsigned index = 0; index < num; index++) {
        const int result =
            vm1905_get_fwd_rule(session.client(), static_cast<uint8_t>(index), &rule);
        if (result == VM1905_BAD_INDEX || result == VM1905_EMPTY) break;
        check(result, "forwarding rules");
        rules.push_back(rule);
    }
    return {{listOf("forwarding_rules", "", kRules, rules, "no forwarding rules")}};
}

Report showSecurity(Session& session) {
    vm1905_security security;
    check(vm1905_get_security(session.client(), &security), "the security setting");
    return {{recordOf("", "", kSecurity, security)}};
}
