#include <array>

#include "order.h"

namespace {

struct Nothing {
    std::string what;
};
struct Number {
    int value = 0;
};
struct Bytes {
    std::string hex;
};

template <int (*Call)(vm1905_client*)>
Report plain(Session& session, const Nothing& order) {
    return doHere(session, order.what, Call);
}

void addPlain(CLI::App& parent, Choice& choice, const char* name, const char* text,
              Report (*act)(Session&, const Nothing&)) {
    const auto [command, order] = addCommand<Nothing>(parent, choice, name, text, act);
    order->what = parent.get_parent() == nullptr ? name : parent.get_name() + " " + name;
}

// ---- set

struct Setting {
    std::string item;
    std::vector<std::string> values;
};

int number(const std::string& text) {
    size_t end = 0;
    long long value = 0;
    try {
        value = std::stoll(text, &end, 0);
    } catch (const std::exception&) {
        end = std::string::npos;
    }
    if (end != text.size() || value < INT32_MIN || value > INT32_MAX) {
        throw Failure{kUsage, text + " is no number of 32 bits"};
    }
    return static_cast<int>(value);
}

uint8_t byte(const std::string& text) {
    const int value = number(text);
    if (value < 0 || value > 255) throw Failure{kUsage, text + " is not between 0 and 255"};
    return static_cast<uint8_t>(value);
}

using Values = std::vector<std::string>;

struct Item {
    const char* name;
    const char* arguments;
    size_t count;  // of them
    int (*set)(vm1905_client* client, const Values& values);
};

constexpr Item kItems[] = {
    {"allow-reboot", "0|1", 1,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_option(client, VM1905_OPTION_REBOOT, byte(v[0]));
     }},
    {"allow-power", "0|1", 1,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_option(client, VM1905_OPTION_INTF_PWR, byte(v[0]));
     }},
    {"change-log-max", "1-255", 1,
     [](vm1905_client* client, const Values& v) { return vm1905_set_log_max(client, byte(v[0])); }},
    {"approve", "0|1", 1,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_approve(client, number(v[0]));
     }},
    {"wps", "TYPE SEARCH RESPONSE", 3,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wps(client, number(v[0]), number(v[1]), number(v[2]));
     }},
    {"wps-band", "All|0|1|32|33 SEARCH RESPONSE", 3,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wps_by_band(client, v[0].c_str(), number(v[1]), number(v[2]));
     }},
    {"wps-timeout", "SECONDS", 1,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wps_timeout(client, number(v[0]));
     }},
    {"wifi-reload", "TYPE 0|1", 2,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wifi_reload(client, number(v[0]), number(v[1]));
     }},
    {"firmware-result", "N", 1,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_fw_result(client, number(v[0]));
     }},
    {"firmware-state", "TEXT", 1,
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_fw_state(client, v[0].c_str());
     }},
    {"security", "HEX", 1,
     [](vm1905_client* client, const Values& v) {
         const std::string bytes = hexArgument(v[0]);
         return vm1905_set_security(client, bytes.data(), bytes.size());
     }},
};

std::string settings(const char* separator) {
    std::string out;
    for (const Item& item : kItems) {
        out += std::string(out.empty() ? "" : separator) + item.name + " " + item.arguments;
    }
    return out;
}

Report set(Session& session, const Setting& setting) {
    for (const Item& item : kItems) {
        if (setting.item != item.name) continue;
        if (setting.values.size() != item.count) {
            throw Failure{kUsage, setting.item + " takes: " + item.arguments};
        }
        return doHere(session, setting.item,
                      [&](vm1905_client* client) { return item.set(client, setting.values); });
    }
    throw Failure{kUsage, "there is nothing to set called " + setting.item, settings("; ")};
}

// ---- Others

const std::map<std::string, int> kBands{
    {"main24", 0}, {"main5", 1}, {"guest24", 32}, {"guest5", 33}};

template <int (*Call)(vm1905_client*, uint8_t)>
Report ofBand(Session& session, const Number& band) {
    return doHere(session, "wps, band " + std::to_string(band.value), [&](vm1905_client* client) {
        return Call(client, static_cast<uint8_t>(band.value));
    });
}

struct Level {
    std::string text;
};

Report debugLevel(Session& session, const Level& level) {
    constexpr uint32_t kTables = 6;
    const bool isTables = level.text == "tables";
    const int wanted = isTables ? static_cast<int>(kTables) : number(level.text);
    if (!isTables && (wanted < 0 || wanted > 5)) {
        throw Failure{kUsage, "levels are 0 to 5", "tables prints ports and topology to the log"};
    }
    return doHere(session, "debug-level " + level.text, [&](vm1905_client* client) {
        return vm1905_set_debug_level(client, static_cast<uint32_t>(wanted));
    });
}

template <int (*Call)(vm1905_client*, const void*, size_t)>
Report ofBytes(Session& session, const Bytes& rule) {
    const std::string bytes = hexArgument(rule.hex);
    return doHere(session, "forwarding rule",
                  [&](vm1905_client* client) { return Call(client, bytes.data(), bytes.size()); });
}

Report removeRule(Session& session, const Number& rule) {
    return doHere(session, "forwarding rule " + std::to_string(rule.value),
                  [&](vm1905_client* client) {
                      return vm1905_remove_fwd_rule(client, static_cast<uint16_t>(rule.value));
                  });
}

void addRules(CLI::App& app, Choice& choice) {
    CLI::App& rules = *app.get_subcommand("forwarding-rules");
    const auto [add, added] =
        addCommand<Bytes>(rules, choice, "add", "add one", ofBytes<vm1905_add_fwd_rule>);
    const auto [modify, modified] =
        addCommand<Bytes>(rules, choice, "modify", "change one", ofBytes<vm1905_modify_fwd_rule>);
    add->add_option("HEX", added->hex, "the rule")->required()->type_name("HEX");
    modify->add_option("HEX", modified->hex, "the rule")->required()->type_name("HEX");
    const auto [remove, removed] =
        addCommand<Number>(rules, choice, "remove", "remove one", removeRule);
    remove->add_option("ID", removed->value, "its number")
        ->required()
        ->check(CLI::Range(0, 65535).description(""))
        ->type_name("N");
}

}  // namespace

void addLocalOrders(CLI::App& app, Choice& choice) {
    {
        const auto [command, setting] =
            addCommand<Setting>(app, choice, "set", "set a value of this device", set);
        command->footer("\nItems and their values:\n  " + settings("\n  "));
        command->add_option("ITEM", setting->item, "which")->required()->type_name("ITEM");
        command->add_option("VALUE", setting->values, "its value or values")
            ->required()
            ->type_name("VALUE");
    }
    CLI::App& wps = addGroup(app, "wps", "WPS and AP auto-configuration");
    for (const auto& [name, text, act] :
         {std::tuple{"renew", "send a renew for a band", &ofBand<vm1905_send_wps_renew>},
          std::tuple{"search", "send a search for a band", &ofBand<vm1905_send_wps_search>}}) {
        const auto [command, band] = addCommand<Number>(wps, choice, name, text, act);
        command->add_option("BAND", band->value, "main24, main5, guest24, guest5, or its number")
            ->required()
            ->transform(CLI::CheckedTransformer(kBands))
            ->type_name("BAND");
    }
    addPlain(wps, choice, "push-button", "send a push-button event", plain<vm1905_push_button>);
    addPlain(wps, choice, "get", "service 140, which does nothing", plain<vm1905_get_wps>);
    addPlain(app, choice, "discover", "send a topology and a vendor discovery now",
             plain<vm1905_send_discovery>);
    addPlain(app, choice, "reopen-ports", "open all ports of the daemon anew",
             plain<vm1905_reopen_ports>);
    {
        const auto [command, level] =
            addCommand<Level>(app, choice, "debug-level", "how much the daemon logs", debugLevel);
        command->add_option("LEVEL", level->text, "0 to 5; tables: print ports and topology once")
            ->required()
            ->type_name("LEVEL");
    }
    CLI::App& logFile = addGroup(app, "log-file", "log files");
    addPlain(logFile, choice, "write", "write vm1905_log.json, the change log",
             plain<vm1905_write_log>);
    CLI::App& sync = addGroup(app, "wifi-sync", "Wi-Fi settings across the mesh");
    addPlain(sync, choice, "all", "search or renew all bands", plain<vm1905_wifi_sync_all>);
    addPlain(sync, choice, "action", "service 191, in the platform's hands",
             plain<vm1905_wifi_state_action>);
    addPlain(sync, choice, "extenders", "have all extenders take over their configuration anew",
             plain<vm1905_update_extenders>);
    addRules(app, choice);
}
