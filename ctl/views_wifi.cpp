// The views of the Wi-Fi networks and of the stations.
#include <unistd.h>

#include <cstdlib>
#include <map>

#include "base/own_folder.h"
#include "failure.h"
#include "hex.h"
#include "views.h"
#include "words.h"

namespace {

// A member of an object that may be of any form; null if it is missing.
Json at(const Json& object, const char* member) {
    if (!object.is_object()) return {};
    const auto found = object.find(member);
    return found == object.end() ? Json() : *found;
}

std::string textAt(const Json& object, const char* member) {
    const Json value = at(object, member);
    return value.is_string() ? value.get<std::string>() : "";
}

// What the platform library reports about this device; null without such a file.
Json readWifi() {
    const std::string path = ownFolder() + "/wifi.json";
    if (access(path.c_str(), F_OK) != 0) return {};
    std::string text;
    if (const auto trouble = readDaemonFile(path, text); !trouble.empty()) {
        throw Failure{kRefused, path + " " + trouble};
    }
    return parseJson(text);
}

// ---- Bands

std::string bandOf(uint16_t mediaType) {
    switch (mediaType) {
        case 0x0100:
        case 0x0101:
        case 0x0103:
            return "2.4";
        case 0x0102:
        case 0x0104:
        case 0x0105:
            return "5";
        case 0x0106:
            return "60";
        default:
            return "";
    }
}

// The connection type names the band as "..._5GH"; the medium is the second choice.
std::string bandOf(const std::string& connection, uint16_t mediaType) {
    for (const auto& [part, band] :
         {std::pair{"2G", "2.4"}, {"24G", "2.4"}, {"60G", "60"}, {"6G", "6"}, {"5G", "5"}}) {
        if (connection.find(part) != std::string::npos) return band;
    }
    return bandOf(mediaType);
}

// ---- Networks

struct Network {
    Json object;
    std::string key;
};

// The text of an SSID that is UTF-8; null for another one.
Json ssidOf(const Json& object) {
    const auto bytes = parseHex(textAt(object, "ssid"));
    if (!bytes) return {};
    try {
        (void)Json(*bytes).dump();
        return *bytes;
    } catch (const Json::exception&) {
        return {};
    }
}

constexpr Column<Network> kNetworks[] = {
    {"name", "NETWORK", [](const Network& n) { return at(n.object, "name"); }},
    {"bands", "BANDS", [](const Network& n) { return at(n.object, "bands"); }},
    {"ssid", "SSID", [](const Network& n) { return ssidOf(n.object); }},
    {"ssid_hex", "", [](const Network& n) { return at(n.object, "ssid"); }, Unit::kNone, kHidden},
    {"authentication", "AUTHENTICATION",
     [](const Network& n) { return at(n.object, "authentication"); }},
    {"key", "KEY", [](const Network& n) { return known(n.key); }},
};

// The values of KEY in such a file, by their sections.
std::map<std::string, std::string> keysIn(const std::string& path) {
    std::string text;
    if (const auto trouble = readDaemonFile(path, text); !trouble.empty()) {
        throw Failure{kRefused, path + " " + trouble,
                      "only root and the daemon's user may read it"};
    }
    const auto trimmed = [](std::string_view part) {
        const size_t first = std::min(part.find_first_not_of(" \t\r"), part.size());
        return part.substr(first, part.find_last_not_of(" \t\r") + 1 - first);
    };
    std::map<std::string, std::string> keys;
    std::string section;
    for (std::string_view rest = text; !rest.empty();) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        const std::string_view line = trimmed(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
        const size_t equals = line.find('=');
        if (line.starts_with('[')) {
            section = line.substr(1, line.find(']') - 1);
        } else if (equals != line.npos && trimmed(line.substr(0, equals)) == "KEY") {
            std::string_view value = trimmed(line.substr(equals + 1));
            if (value.starts_with('"')) {
                value = value.substr(1, value.rfind('"') - 1);
            } else {
                value = trimmed(value.substr(0, value.find(" #")));
            }
            keys[section] = value;
        }
    }
    return keys;
}

Section networksOf(const Json& wifi, bool withSecrets) {
    std::vector<Network> networks;
    for (const Json& object : at(wifi, "networks")) {
        networks.push_back({object, ""});
        if (withSecrets)
            networks.back().key = keysIn(textAt(object, "file"))[textAt(object, "name")];
    }
    Section section = listOf("networks", "Networks", kNetworks, networks,
                             "none that this daemon gives or has received");
    if (withSecrets) return section;
    section.headings.pop_back();
    for (auto& row : section.rows) row.pop_back();
    return section;
}

// ---- Radios

struct Radio {
    std::string device;
    Mac alMac;
    Json port, mac, band, state, channel, ssid, media;
};

constexpr Column<Radio> kRadios[] = {
    {"device", "DEVICE", [](const Radio& r) { return known(r.device); }},
    {"al_mac", "", [](const Radio& r) { return Json(r.alMac.text()); }, Unit::kNone, kHidden},
    {"port", "PORT", [](const Radio& r) { return r.port; }},
    {"mac", "MAC", [](const Radio& r) { return r.mac; }},
    {"band", "BAND", [](const Radio& r) { return r.band; }},
    {"state", "STATE", [](const Radio& r) { return r.state; }},
    {"channel", "CHANNEL", [](const Radio& r) { return r.channel; }},
    {"ssid", "SSID", [](const Radio& r) { return r.ssid; }},
    {"media", "MEDIUM", [](const Radio& r) { return r.media; }},
};

// Only with one radio of the band is it clear whose channel a device reports. 6 GHz looks like 5
// GHz.
Json channelOf(const Device& device, const std::string& band) {
    const auto isOther = [&band](const Interface& intf) {
        return intf.isWifi() && bandOf(intf.mediaType) == band;
    };
    const bool isClear = std::ranges::count_if(device.interfaces, isOther) == 1;
    if (device.model == nullptr || !isClear || (band != "2.4" && band != "5")) return {};
    return known(device.model->text(band == "5" ? "WIFI5GChannel" : "WIFI24GChannel"));
}

// Those that are interfaces of the mesh, and those of this device that hostapd runs.
std::vector<Radio> radiosOf(Session& session, const Json& wifi) {
    std::vector<Radio> radios;
    const Mesh mesh = session.mesh();
    for (const Device& device : mesh.devices) {
        for (const Interface& intf : device.interfaces) {
            if (!intf.isWifi()) continue;
            const std::string band = bandOf(intf.mediaType);
            radios.push_back({device.called(),
                              device.alMac,
                              known(portName(device, intf.mac)),
                              intf.mac.text(),
                              known(band),
                              {},
                              channelOf(device, band),
                              {},
                              known(intf.media)});
        }
    }
    const Mac own = session.ownRecord().al_mac;
    for (const Json& each : at(wifi, "radios")) {
        auto row = std::ranges::find_if(radios, [&](const Radio& radio) {
            return radio.alMac == own && radio.port == at(each, "interface");
        });
        if (row == radios.end()) {
            radios.push_back(
                {session.ownName(), own, at(each, "interface"), {}, {}, {}, {}, {}, {}});
            row = radios.end() - 1;
        }
        row->band = at(each, "band");
        row->state = at(each, "on") == true ? "on" : "off";
        row->channel = at(each, "channel") == 0 ? Json() : at(each, "channel");
        row->ssid = known(textAt(each, "ssid"));
    }
    return radios;
}

// ---- What the devices have

struct Settings {
    std::string device;
    Mac alMac;
    Json band, state, since, reason;
    Json version;  // when the Registrar's networks of the band were configured
};

constexpr Column<Settings> kSettings[] = {
    {"device", "DEVICE", [](const Settings& s) { return known(s.device); }},
    {"al_mac", "", [](const Settings& s) { return Json(s.alMac.text()); }, Unit::kNone, kHidden},
    {"band", "BAND", [](const Settings& s) { return s.band; }},
    {"state", "STATE", [](const Settings& s) { return s.state; }},
    {"since", "SINCE", [](const Settings& s) { return s.since; }, Unit::kTime},
    {"version", "HAS SETTINGS OF", [](const Settings& s) { return s.version; }, Unit::kTime},
    {"reason", "REASON", [](const Settings& s) { return s.reason; }},
};

// The times that a device reports, by band.
struct BandTime {
    const char* band;
    const char* member;
};
constexpr BandTime kVersions[] = {{"2.4", "Main24G_time"},
                                  {"5", "Main5G_time"},
                                  {"guest-2.4", "Guest24G_time"},
                                  {"guest-5", "Guest5G_time"}};

void addVersions(Session& session, std::vector<Settings>& all, const Json& device) {
    const Mac alMac = parseMac(textAt(device, "IEEE1905Id")).value_or(Mac{});
    for (const BandTime& time : kVersions) {
        const std::string text = textAt(device, time.member);
        if (text.empty() || textAt(device, "DeviceType") == "Registrar") continue;
        const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos;
        const Json version = isNumber ? Json(std::strtoll(text.c_str(), nullptr, 10)) : Json(text);
        auto row = std::ranges::find_if(
            all, [&](const Settings& s) { return s.alMac == alMac && s.band == time.band; });
        if (row == all.end()) {
            all.push_back({session.called(alMac), alMac, time.band, {}, {}, {}, {}});
            row = all.end() - 1;
        }
        row->version = version;
    }
}

std::vector<Settings> settingsOf(Session& session, const Json& wifi) {
    std::vector<Settings> all;
    for (const Json& each : at(wifi, "exchanges")) {
        const Mac alMac = parseMac(textAt(each, "al_mac")).value_or(Mac{});
        all.push_back({session.called(alMac),
                       alMac,
                       at(each, "band"),
                       at(each, "state"),
                       at(each, "since"),
                       known(textAt(each, "reason")),
                       {}});
    }
    const std::string model =
        session.options().dataModel.empty() ? dataModelPath() : session.options().dataModel;
    std::string text;
    const std::string folder = model.substr(0, model.rfind('/') + 1);
    if (!readDaemonFile(folder + "vm1905_APautoconfig.json", text).empty()) return all;
    const Json network = at(parseJson(text), "NetworkTopology");
    for (const auto& [name, device] : network.items()) addVersions(session, all, device);
    return all;
}

// ---- Stations

struct Station {
    std::string device;
    Mac alMac;
    std::string port;
    Mac mac;
    std::string name;  // of a station that is a device
    std::string band;
    WifiLink link;
};

constexpr Column<Station> kStations[] = {
    {"mac", "STATION", [](const Station& s) { return Json(s.mac.text()); }},
    {"name", "NAME", [](const Station& s) { return known(s.name); }},
    {"device", "DEVICE", [](const Station& s) { return known(s.device); }},
    {"al_mac", "", [](const Station& s) { return Json(s.alMac.text()); }, Unit::kNone, kHidden},
    {"port", "PORT", [](const Station& s) { return known(s.port); }},
    {"band", "BAND", [](const Station& s) { return known(s.band); }},
    {"connection", "CONNECTION", [](const Station& s) { return known(s.link.connType); }},
    {"signal", "SIGNAL", [](const Station& s) { return Json(s.link.signal); }, Unit::kPercent,
     kRestless},
    {"rssi", "RSSI", [](const Station& s) { return Json(s.link.rssi); }, Unit::kDecibel, kRestless},
    {"rate", "RATE", [](const Station& s) { return Json(s.link.rate); }, Unit::kMbps, kRestless},
    {"tx", "TX", [](const Station& s) { return known(s.link.tx); }, Unit::kNone, kRestless},
    {"rx", "RX", [](const Station& s) { return known(s.link.rx); }, Unit::kNone, kRestless},
};

int64_t numberAt(const Json& object, const char* member) {
    const Json value = at(object, member);
    return value.is_number_integer() ? value.get<int64_t>() : 0;
}

}  // namespace

Report showWifi(Session& session, bool withSecrets) {
    const Json wifi = readWifi();
    return {{networksOf(wifi, withSecrets),
             listOf("radios", "Radios", kRadios, radiosOf(session, wifi), "none"),
             listOf("devices", "Devices", kSettings, settingsOf(session, wifi),
                    "no device has asked for its networks")}};
}

Report showStations(Session& session) {
    std::vector<Station> all;
    const Mac own = session.ownRecord().al_mac;
    for (const Json& each : at(readWifi(), "stations")) {
        const WifiLink link{numberAt(each, "rate"),   numberAt(each, "rssi"),
                            numberAt(each, "signal"), textAt(each, "tx"),
                            textAt(each, "rx"),       textAt(each, "connection")};
        const auto mediaType = static_cast<uint16_t>(numberAt(each, "media_type"));
        all.push_back({session.ownName(), own, textAt(each, "interface"),
                       parseMac(textAt(each, "mac")).value_or(Mac{}), "",
                       bandOf(link.connType, mediaType), link});
    }
    for (const ModelDevice& device : session.model().devices) {
        for (const ModelNeighbor& neighbor : device.neighbors) {
            if (!neighbor.wifi) continue;
            all.push_back({session.called(device.alMac), device.alMac,
                           session.portOf(device.alMac, neighbor.localIntf), neighbor.intf,
                           neighbor.alMac.isZero() ? "" : session.called(neighbor.alMac),
                           bandOf(neighbor.wifi->connType, mediaTypeOf(neighbor.media)),
                           *neighbor.wifi});
        }
    }
    return {{listOf("stations", "", kStations, all, "no station is known")}};
}
