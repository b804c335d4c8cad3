// The views of single values, the forwarding rules and the security setting.
#include <algorithm>
#include <span>

#include "failure.h"
#include "hex.h"
#include "table.h"
#include "views.h"
#include "words.h"

namespace {

enum class Of { kSelf, kDevice, kInterface };

struct Item {
    const char* name;
    Of of;  // what may follow the name
    Json (*get)(Session& session, const std::string& of);
};

Json option(Session& session, const std::string& of, uint8_t item) {
    const Mac alMac = of.empty() ? Mac{} : session.device(of);
    std::optional<bool> value;
    check(readOption(session.client(), of.empty() ? nullptr : &alMac, item, value),
          of.empty() ? "the option" : "the option of " + of);
    return known(value);
}

template <typename Get>
Json ofInterface(Session& session, const std::string& of, Get&& get) {
    const Device own = session.ownDevice();
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
    {"approve", Of::kSelf,
     [](Session& session, const std::string&) {
         const std::string flag = session.model().own.text("Approveflag");
         return flag.empty() ? Json() : Json(flag != "0");
     }},
    {"al-mac", Of::kSelf,
     [](Session& session, const std::string&) {
         return Json(Mac(session.ownRecord().al_mac).text());
     }},
    {"topology", Of::kSelf,
     [](Session& session, const std::string&) { return topologyWord(session.topology().status); }},
    {"topology-enabled", Of::kSelf,
     [](Session& session, const std::string&) { return Json(session.topology().enable != 0); }},
    {"change-log-max", Of::kSelf,
     [](Session& session, const std::string&) {
         const uint8_t max = session.topology().log_max;
         return Json(max == 0 ? 256 : max);
     }},
    {"power", Of::kInterface, power},
    {"vendor-property", Of::kInterface, vendorProperty},
};

constexpr Column<vm1905_fwd_rule> kRules[] = {
    {"id", "RULE", [](const vm1905_fwd_rule& r) { return Json(r.id); }},
    {"macs", "MACS", [](const vm1905_fwd_rule& r) { return Json(r.mac_num); }},
    {"addresses", "ADDRESSES",
     [](const vm1905_fwd_rule& r) {
         std::string all;
         for (const auto& mac : std::span(r.macs).first(r.mac_num)) {
             all += (all.empty() ? "" : " ") + Mac(mac).text();
         }
         return all.empty() ? Json() : Json(all);
     }},
    {"match", "MATCH",
     [](const vm1905_fwd_rule& r) { return Json(hexOf(r.match, sizeof r.match)); }},
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
                      of.empty() ? name + " needs an interface" : name + " takes no argument",
                      "items: " + itemNames()};
    }
    std::string key = name;
    std::ranges::replace(key, '-', '_');
    Section section{"", "", false, {{key, "", Unit::kNone, kPlain}}, {{item->get(session, of)}}};
    return {{section}};
}

Report showForwardingRules(Session& session) {
    uint8_t num = 0;
    check(vm1905_get_fwd_rule_num(session.client(), &num), "forwarding rules");
    std::vector<vm1905_fwd_rule> rules;
    vm1905_fwd_rule rule;
    walkTable(
        "forwarding rules",
        [&](uint8_t index) {
            return index < num ? vm1905_get_fwd_rule(session.client(), index, &rule)
                               : VM1905_BAD_INDEX;
        },
        [&] { rules.push_back(rule); });
    return {{listOf("forwarding_rules", "", kRules, rules, "no forwarding rules")}};
}

Report showSecurity(Session& session) {
    vm1905_security security;
    check(vm1905_get_security(session.client(), &security), "the security setting");
    return {{recordOf("", "", kSecurity, security)}};
}
