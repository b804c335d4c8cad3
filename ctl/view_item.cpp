#include <algorithm>

#include "failure.h"
#include "views.h"
#include "words.h"

namespace {

enum class Of { kSelf, kDevice, kInterface };

struct Item {
    const char* name;
    Of of;  // what may be named behind it
    Json (*get)(Session& session, const std::string& of);
};

Json option(Session& session, const std::string& of, uint8_t number) {
    uint8_t value = 0;
    if (of.empty()) {
        check(vm1905_get_option(session.client(), number, &value), "the option");
        return value == 1;
    }
    const vm1905_mac alMac = session.device(of);
    check(vm1905_get_dev_option(session.client(), &alMac, number, &value), "the option of " + of);
    return value == 255 ? Json() : Json(value == 1);  // 255 before it has told
}

vm1905_topology topology(Session& session) {
    vm1905_topology topology;
    check(vm1905_get_topology(session.client(), &topology), "the topology");
    return topology;
}

template <typename Get>
Json ofInterface(Session& session, const std::string& of, Get&& get) {
    vm1905_al al;
    check(vm1905_get_al(session.client(), &al), "this device");
    const Device own = readOwnDevice(session.client(), session.model(), al, session.ownName());
    const Interface& intf = own.namedIntf(of);
    return get(vm1905_mac(intf.mac), intf.mediaType);
}

Json power(Session& session, const std::string& of) {
    return ofInterface(session, of, [&](const vm1905_mac& mac, uint16_t mediaType) {
        uint8_t state = 0;
        check(vm1905_get_intf_pwr(session.client(), &mac, mediaType, &state), "power of " + of);
        return powerWord(state);
    });
}

Json vendorProperty(Session& session, const std::string& of) {
    return ofInterface(session, of, [&](const vm1905_mac& mac, uint16_t mediaType) {
        vm1905_vend_prop prop;
        check(vm1905_get_intf_vend_prop(session.client(), &mac, mediaType, &prop),
              "vendor property of " + of);
        return Json{{"oui", hexOf(prop.oui, sizeof prop.oui)},
                    {"data", hexOf(prop.data, prop.length)}};
    });
}

constexpr Item kItems[] = {
    {"allow-reboot", Of::kDevice,
     [](Session& session, const std::string& of) {
         return option(session, of, VM1905_OPTION_REBOOT);
     }},
    {"allow-power", Of::kDevice,
     [](Session& session, const std::string& of) {
         return option(session, of, VM1905_OPTION_INTF_PWR);
     }},
    {"al-mac", Of::kSelf,
     [](Session& session, const std::string&) {
         vm1905_al al;
         check(vm1905_get_al(session.client(), &al), "this device");
         return Json(Mac(al.al_mac).text());
     }},
    {"topology", Of::kSelf,
     [](Session& session, const std::string&) { return topologyWord(topology(session).status); }},
    {"topology-enabled", Of::kSelf,
     [](Session& session, const std::string&) { return Json(topology(session).enable != 0); }},
    {"change-log-max", Of::kSelf,
     [](Session& session, const std::string&) {
         const uint8_t max = topology(session).log_max;
         return Json(max == 0 ? 256 : max);
     }},
    {"power", Of::kInterface, power},
    {"vendor-property", Of::kInterface, vendorProperty},
};

}  // namespace

std::string itemNames() {
    std::string names;
    for (const Item& item : kItems) {
        names += (names.empty() ? "" : ", ") + std::string(item.name) +
                 (item.of == Of::kDevice      ? " [DEVICE]"
                  : item.of == Of::kInterface ? " INTERFACE"
                                              : "");
    }
    return names;
}

std::vector<std::string> itemWords() {
    std::vector<std::string> words;
    for (const Item& item : kItems) words.emplace_back(item.name);
    return words;
}

Report showItem(Session& session, const std::string& name, const std::string& of) {
    const auto item = std::ranges::find(kItems, name, &Item::name);
    if (item == std::end(kItems)) {
        throw Failure{kUsage, "there is no item " + name, "items: " + itemNames()};
    }
    if ((item->of == Of::kSelf && !of.empty()) || (item->of == Of::kInterface && of.empty())) {
        throw Failure{kUsage,
                      of.empty() ? name + " wants an interface" : name + " takes nothing else",
                      "items: " + itemNames()};
    }
    std::string key = name;
    std::ranges::replace(key, '-', '_');
    Section section{"", "", false, {{key, "", Unit::kNone, kPlain}}, {{item->get(session, of)}}};
    return {{section}};
}
