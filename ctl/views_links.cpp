// The view of links.
#include "failure.h"
#include "views.h"
#include "words.h"

namespace {

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
    const bool isWifi = intf != nullptr && intf->isWifi();
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
    {"state", "STATE",
     [](const Neighbor& n) { return troubleOf(n.device->intf(n.heard->localIntf)); }, Unit::kState},
    {"silence", "LAST HEARD",
     [](const Neighbor& n) {
         return n.device->isOwn && n.other() != nullptr ? known(n.other()->silence) : Json();
     },
     Unit::kSilence, kRestless},
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

}  // namespace

Section linksOf(const std::string& title, const Mesh& mesh, const Device* device) {
    std::vector<Neighbor> all;
    for (const Device& each : mesh.devices) {
        if (device != nullptr && device != &each) continue;
        for (const Heard& heard : each.heard) all.push_back({&mesh, &each, &heard});
    }
    return listOf("links", title, kLinks, all, "no links are known");
}

Report showLinks(Session& session, const std::string& given) {
    const Mac alMac = given.empty() ? Mac{} : session.device(given);
    const Mesh mesh = session.mesh();
    const Device* const device = given.empty() ? nullptr : mesh.find(alMac);
    if (!given.empty() && device == nullptr) check(VM1905_NO_DEVICE, alMac.text());
    return {{linksOf("", mesh, device)}};
}
