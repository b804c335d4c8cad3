// The view of the mesh as a tree.
#include <algorithm>
#include <string_view>

#include "failure.h"
#include "tree.h"
#include "views.h"
#include "words.h"

namespace {

struct Row {
    Place place;
    const Device* parent = nullptr;  // nullptr if it has none

    const WifiLink* wifi() const {
        if (place.fromParent != nullptr && place.fromParent->wifi) return &*place.fromParent->wifi;
        if (place.fromChild != nullptr && place.fromChild->wifi) return &*place.fromChild->wifi;
        return nullptr;
    }
    const vm1905_link* metric() const {
        if (place.fromParent != nullptr && place.fromParent->metric) {
            return &*place.fromParent->metric;
        }
        return place.fromChild != nullptr && place.fromChild->metric ? &*place.fromChild->metric
                                                                     : nullptr;
    }
    const Interface* parentIntf() const {
        return parent == nullptr ? nullptr : parent->intf(place.parentPort);
    }
    bool isWifi() const {
        const Interface* const intf = parentIntf();
        return wifi() != nullptr || (intf != nullptr && intf->isWifi());
    }
};

Json nameOf(const Row& row) {
    return row.place.isHost ? row.place.mac.text() : row.place.device->called();
}

Json ports(const Row& row) {
    if (row.parent == nullptr) return {};
    const auto text = [](const std::string& name) { return name.empty() ? "?" : name; };
    const std::string from = text(portName(*row.parent, row.place.parentPort));
    if (row.place.isHost) return from;
    return from + " - " + text(portName(*row.place.device, row.place.port));
}

Json media(const Row& row) {
    for (const Heard* heard : {row.place.fromParent, row.place.fromChild}) {
        if (heard != nullptr && heard->wifi && !heard->media.empty()) return heard->media;
    }
    if (const Interface* const intf = row.parentIntf(); intf && !intf->media.empty()) {
        return intf->media;
    }
    const Interface* const own =
        row.place.isHost ? nullptr : row.place.device->intf(row.place.port);
    return own != nullptr && row.parent != nullptr ? known(own->media) : Json();
}

Json note(const Row& row) {
    std::string out;
    const auto add = [&](const std::string& text) { out += (out.empty() ? "" : "; ") + text; };
    if (row.place.device->isOwn && !row.place.isHost) add("this device");
    if (row.place.isHost) add("host");
    if (row.place.device->isStranger) add("not heard by this device");
    if (row.parent == nullptr && row.place.depth > 0) add("position unknown");
    if (row.parent != nullptr && !row.place.isCertain) add("somewhere behind its parent");
    std::string others;
    for (const Device* device : row.place.alsoLinked) {
        others += (others.empty() ? "" : ", ") + device->called();
    }
    if (!others.empty()) add("also linked to " + others);
    return known(out);
}

Json stateOf(const Row& row) {
    const Json parents = troubleOf(row.parentIntf());
    return !parents.is_null() || row.place.isHost
               ? parents
               : troubleOf(row.place.device->intf(row.place.port));
}

template <typename Figure>
Json wifiOr(const Row& row, Figure WifiLink::*figure, Json (*metric)(const vm1905_link&)) {
    if (row.wifi() != nullptr) return (*row.wifi()).*figure;
    return row.metric() != nullptr ? metric(*row.metric()) : Json();
}

constexpr Column<Row> kRows[] = {
    {"name", "DEVICE", nameOf},
    {"mac", "", [](const Row& r) { return Json(r.place.mac.text()); }, Unit::kNone, kHidden},
    {"kind", "", [](const Row& r) { return Json(r.place.isHost ? "host" : "device"); }, Unit::kNone,
     kHidden},
    {"role", "ROLE",
     [](const Row& r) { return r.place.isHost ? Json() : roleOf(r.place.device->model); },
     Unit::kNone, kSpare},
    {"parent", "", [](const Row& r) { return r.parent ? Json(r.parent->alMac.text()) : Json(); },
     Unit::kNone, kHidden},
    {"depth", "", [](const Row& r) { return Json(r.place.depth); }, Unit::kNone, kHidden},
    {"certain", "", [](const Row& r) { return Json(r.place.isCertain); }, Unit::kNone, kHidden},
    {"ports", "PORTS", ports, Unit::kNone, kSpare},
    {"parent_port", "",
     [](const Row& r) {
         return r.parent == nullptr ? Json() : known(portName(*r.parent, r.place.parentPort));
     },
     Unit::kNone, kHidden},
    {"port", "",
     [](const Row& r) {
         return r.place.isHost ? Json() : known(portName(*r.place.device, r.place.port));
     },
     Unit::kNone, kHidden},
    {"silence", "HEARD",
     [](const Row& r) { return r.place.isHost ? Json() : known(r.place.device->silence); },
     Unit::kSilence, kRestless | kSpare},
    {"state", "STATE", stateOf, Unit::kState},
    {"rate", "RATE",
     [](const Row& r) {
         return wifiOr(r, &WifiLink::rate, [](const vm1905_link& l) { return Json(l.phy_rate); });
     },
     Unit::kMbps, kSpare},
    {"rssi", "RSSI",
     [](const Row& r) {
         return r.isWifi()
                    ? wifiOr(r, &WifiLink::rssi, [](const vm1905_link& l) { return Json(l.rssi); })
                    : Json();
     },
     Unit::kDecibel, kRestless | kSpare},
    {"availability", "FREE",
     [](const Row& r) { return r.metric() ? Json(r.metric()->availability) : Json(); },
     Unit::kPercent, kRestless | kSpare},
    {"media", "MEDIUM", media, Unit::kNone, kSpare},
    {"signal", "SIGNAL", [](const Row& r) { return r.wifi() ? Json(r.wifi()->signal) : Json(); },
     Unit::kNone, kRestless | kSpare},
    {"connection", "CONNECTION",
     [](const Row& r) { return r.wifi() ? known(r.wifi()->connType) : Json(); }, Unit::kNone,
     kSpare},
    {"also_linked", "",
     [](const Row& r) {
         Json out = Json::array();
         for (const Device* device : r.place.alsoLinked) out.push_back(device->alMac.text());
         return out;
     },
     Unit::kNone, kHidden},
    {"note", "", note, Unit::kNone, kShort},
};

std::string quoted(const std::string& text, bool isDot) {
    std::string out;
    for (const char c : text) {
        const auto entity = std::string_view("\"<>&#").find(c);
        if (isDot) {
            out += c == '"' ? "\\\"" : std::string(1, c);
        } else if (entity != std::string_view::npos) {
            constexpr const char* kEntities[] = {"#quot;", "#lt;", "#gt;", "#amp;", "#35;"};
            out += kEntities[entity];
        } else {
            out += c;
        }
    }
    return "\"" + out + "\"";
}

// The rows as a graph in the language of a program that draws it.
std::string drawn(const std::vector<Row>& rows, Drawing drawing) {
    const bool isDot = drawing == Drawing::kDot;
    const auto text = [&](const Json& value) { return quoted(textOf(value, Unit::kNone), isDot); };
    const auto node = [](size_t number) { return "n" + std::to_string(number); };
    const auto numberOf = [&](const Device* device) {
        const auto row = std::ranges::find_if(rows, [&](const Row& other) {
            return other.place.device == device && !other.place.isHost;
        });
        return static_cast<size_t>(row - rows.begin());
    };
    std::string out = isDot ? "graph mesh {\n" : "graph TD\n";
    for (size_t i = 0; i < rows.size(); i++) {
        const std::string name = text(nameOf(rows[i]));
        out += "  " + node(i) + (isDot ? " [label=" + name + "];\n" : "[" + name + "]\n");
    }
    const auto link = [&](size_t from, size_t to, const Json& label, bool isCertain) {
        if (isDot) {
            out += "  " + node(from) + " -- " + node(to) + " [label=" + text(label) +
                   (isCertain ? "];\n" : ", style=dashed];\n");
        } else {
            out += "  " + node(from) + (isCertain ? " ---|" : " -.-|") + text(label) + "| " +
                   node(to) + "\n";
        }
    };
    for (size_t i = 0; i < rows.size(); i++) {
        const Row& row = rows[i];
        if (row.parent != nullptr) link(numberOf(row.parent), i, ports(row), row.place.isCertain);
        for (const Device* device : row.place.alsoLinked) link(numberOf(device), i, " ", true);
    }
    return out + (isDot ? "}\n" : "");
}

}  // namespace

Report showTopology(Session& session, const std::string& root, bool withHosts, Drawing drawing) {
    const Mac top = root.empty() ? Mac{} : session.device(root);
    Mesh mesh = session.mesh();
    mesh.addStrangers();
    const Device* const device = root.empty() ? &mesh.devices.front() : mesh.find(top);
    if (device == nullptr) check(VM1905_NO_DEVICE, top.text());
    const std::vector<Place> places = placeMesh(mesh, *device, withHosts);
    std::vector<Row> rows;
    for (const Place& place : places) {
        const Device* const parent =
            place.parent < 0 ? nullptr : places[static_cast<size_t>(place.parent)].device;
        rows.push_back({place, parent});
    }
    Section section = listOf("topology", "", kRows, rows, "no devices");
    section.branches = branchesOf(places, hasUnicode());
    Report report{{section}};
    if (drawing != Drawing::kTree) report.drawing = drawn(rows, drawing);
    return report;
}
