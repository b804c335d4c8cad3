// The commands that change this device.
#include <fcntl.h>
#include <sys/random.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

#include "commands.h"
#include "failure.h"
#include "orders.h"

namespace {

struct Nothing {};
struct Number {
    int value = 0;
};
struct Bytes {
    std::string hex;
};

template <int (*Call)(vm1905_client*)>
Report plain(Session& session, const Nothing&) {
    return doHere(session, "", Call);
}

// A daemon without a port answers that it has sent what nobody can hear.
Report discover(Session& session, const Nothing&) {
    if (session.ownRecord().no_port != 0) {
        throw Failure{kRefused, "discover: the daemon has no port open, so no device can hear it",
                      "its log says why; to open the ports again: vm1905ctl reopen-ports"};
    }
    return plain<vm1905_send_discovery>(session, {});
}

// ---- set

struct Setting {
    std::string item;
    std::vector<std::string> values;
};

// The checked values of an item: as texts, and as numbers where they are numbers or words.
struct Values {
    std::vector<std::string> texts;
    std::array<int, 3> numbers{};
};

struct Argument {
    const char* name;  // nullptr if the item takes no more
    int64_t min = INT32_MIN, max = INT32_MAX;
    bool isText = false;
    const Words* words = nullptr;  // for numbers; the only values if max is below min
    const char* advice = "";       // after a wrong number
};

struct Item {
    const char* name;
    std::array<Argument, 3> arguments;
    int (*set)(vm1905_client* client, const Values& values);
    bool isStored = false;  // as for doHere
};

const Words kYesNo{{"no", 0}, {"yes", 1}, {"false", 0}, {"true", 1}};
const Words kRoles{{"Registrar", 0}, {"Enrollee", 1}};
constexpr int kAllBands = -1;
const Words kBandsOrAll{{"all", kAllBands}, {"main24", 0},  {"main5", 1}, {"main6", 3},
                        {"guest24", 32},    {"guest5", 33}, {"0", 0},     {"1", 1},
                        {"3", 3},           {"32", 32},     {"33", 33}};
constexpr Argument kFlag{"yes|no", 0, 1, false, &kYesNo};
constexpr Argument kRole{"Registrar|Enrollee", 0, 1, false, &kRoles};
// Any number, though only two have a meaning.
constexpr Argument kSearch{"SEARCH", INT32_MIN, INT32_MAX, false, &kYesNo};
constexpr Argument kResponse{"RESPONSE", INT32_MIN, INT32_MAX, false, &kYesNo};

constexpr const char* kLogAdvice =
    "255 is the most that can be set; for 256, the default: MAX_CHANGE_LOG_ENTRIES in vm1905.conf";

template <uint8_t Option>
int setOption(vm1905_client* client, const Values& v) {
    return vm1905_set_option(client, Option, static_cast<uint8_t>(v.numbers[0]));
}

constexpr Item kItems[] = {
    {"allow-reboot", {{kFlag}}, setOption<VM1905_OPTION_REBOOT>, true},
    {"allow-power", {{kFlag}}, setOption<VM1905_OPTION_INTF_PWR>, true},
    {"change-log-max",
     {{{"1-255", 1, 255, false, nullptr, kLogAdvice}}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_log_max(client, static_cast<uint8_t>(v.numbers[0]));
     },
     true},
    {"approve",
     {{kFlag}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_approve(client, v.numbers[0]);
     }},
    {"wps",
     {{kRole, kSearch, kResponse}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wps(client, v.numbers[0], v.numbers[1], v.numbers[2]);
     }},
    {"wps-band",
     {{{"BAND", 0, -1, false, &kBandsOrAll}, kSearch, kResponse}},
     [](vm1905_client* client, const Values& v) {
         const int band = v.numbers[0];
         const std::string text = band == kAllBands ? "All" : std::to_string(band);
         return vm1905_set_wps_by_band(client, text.c_str(), v.numbers[1], v.numbers[2]);
     }},
    {"wps-timeout",
     {{{"SECONDS", 0}}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wps_timeout(client, v.numbers[0]);
     }},
    {"wifi-reload",
     {{{"Registrar|Enrollee", INT32_MIN, INT32_MAX, false, &kRoles}, kFlag}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_wifi_reload(client, v.numbers[0], v.numbers[1]);
     }},
    {"firmware-result",
     {{{"N"}}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_fw_result(client, v.numbers[0]);
     }},
    {"firmware-state",
     {{{"TEXT", 0, 240, true}}},
     [](vm1905_client* client, const Values& v) {
         return vm1905_set_fw_state(client, v.texts[0].c_str());
     }},
    {"security",
     {{{"HEX", 0, INT32_MAX, true}}},
     [](vm1905_client* client, const Values& v) {
         const std::string bytes = hexArgument(v.texts[0], VM1905_MAX_PAYLOAD, "HEX");
         return vm1905_set_security(client, bytes.data(), bytes.size());
     }},
};

std::string settings(const char* separator) {
    std::string out;
    for (const Item& item : kItems) {
        out += std::string(out.empty() ? "" : separator) + item.name;
        for (const Argument& argument : item.arguments) {
            if (argument.name != nullptr) out += std::string(" ") + argument.name;
        }
    }
    return out;
}

Values valuesOf(const Item& item, const std::vector<std::string>& given) {
    Values values{given, {}};
    const auto count = static_cast<size_t>(std::ranges::count_if(
        item.arguments, [](const Argument& argument) { return argument.name != nullptr; }));
    if (given.size() != count) {
        std::string usage = std::string(item.name) + " takes:";
        for (size_t i = 0; i < count; i++) usage += std::string(" ") + item.arguments[i].name;
        throw Failure{kUsage, usage};
    }
    for (size_t i = 0; i < count; i++) {
        const auto& [name, min, max, isText, words, advice] = item.arguments[i];
        if (isText) {
            values.texts[i] = textArgument(given[i], static_cast<size_t>(max), name);
        } else if (words != nullptr && max < min) {
            values.numbers[i] = wordArgument(given[i], *words, item.name);
        } else if (words != nullptr) {
            values.numbers[i] = wordOrNumber(given[i], *words, min, max, item.name);
        } else {
            values.numbers[i] =
                static_cast<int>(numberArgument(given[i], min, max, item.name, advice));
        }
    }
    return values;
}

Report set(Session& session, const Setting& setting) {
    const auto* const item =
        std::ranges::find_if(kItems, [&](const Item& known) { return setting.item == known.name; });
    if (item == std::end(kItems)) {
        throw Failure{kUsage, "there is no item " + setting.item, "items: " + settings("; ")};
    }
    const Values values = valuesOf(*item, setting.values);
    return doHere(
        session, item->name, [&](vm1905_client* client) { return item->set(client, values); },
        item->isStored);
}

// ---- Others

const Words kBands{{"main24", 0}, {"main5", 1}, {"main6", 3}, {"guest24", 32}, {"guest5", 33},
                   {"0", 0},      {"1", 1},     {"3", 3},     {"32", 32},      {"33", 33}};

template <int (*Call)(vm1905_client*, uint8_t)>
Report ofBand(Session& session, const Number& band) {
    return doHere(session, wordFor(kBands, band.value), [&](vm1905_client* client) {
        return Call(client, static_cast<uint8_t>(band.value));
    });
}

const Words kLevels{{"critical", 0},  {"errors", 1},  {"warnings", 2}, {"information", 3},
                    {"debugging", 4}, {"verbose", 5}, {"tables", 6},   {"0", 0},
                    {"1", 1},         {"2", 2},       {"3", 3},        {"4", 4},
                    {"5", 5}};

Report debugLevel(Session& session, const Number& level) {
    return doHere(session, wordFor(kLevels, level.value), [&](vm1905_client* client) {
        return vm1905_set_debug_level(client, static_cast<uint32_t>(level.value));
    });
}

template <int (*Call)(vm1905_client*, const void*, size_t)>
Report ofBytes(Session& session, const Bytes& rule) {
    const std::string bytes = hexArgument(rule.hex, VM1905_MAX_PAYLOAD, "HEX");
    return doHere(session, "",
                  [&](vm1905_client* client) { return Call(client, bytes.data(), bytes.size()); });
}

Report removeRule(Session& session, const Number& rule) {
    return doHere(session, std::to_string(rule.value), [&](vm1905_client* client) {
        return vm1905_remove_fwd_rule(client, static_cast<uint16_t>(rule.value));
    });
}

struct KeyFile {
    std::string path = "/etc/vm1905/mesh.key";
};

constexpr Column<KeyFile> kKeyFile[] = {
    {"file", "New key", [](const KeyFile& file) { return Json(file.path); }},
};

// Makes a key of the mesh. An existing one is kept: without it a device loses its mesh.
Report makeMeshKey(Session& /*session*/, const KeyFile& file) {
    std::array<uint8_t, 32> key{};
    const auto fail = [&] {
        throw Failure{kRefused, file.path + ": " + std::generic_category().message(errno)};
    };
    if (getrandom(key.data(), key.size(), 0) != static_cast<ssize_t>(key.size())) fail();
    const int fd =
        open(file.path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
    if (fd < 0) fail();
    const bool isWritten =
        write(fd, key.data(), key.size()) == static_cast<ssize_t>(key.size()) && fsync(fd) == 0;
    if (close(fd) != 0 || !isWritten) {
        unlink(file.path.c_str());
        fail();
    }
    return {{recordOf("", "", kKeyFile, file)}};
}

void addRules(CLI::App& app, Choice& choice) {
    CLI::App& rules = *app.get_subcommand("forwarding-rules");
    const auto [add, added] =
        addCommand<Bytes>(rules, choice, "add", "add a rule", ofBytes<vm1905_add_fwd_rule>);
    const auto [modify, modified] = addCommand<Bytes>(rules, choice, "modify", "change a rule",
                                                      ofBytes<vm1905_modify_fwd_rule>);
    add->add_option("HEX", added->hex, "the rule as a request holds it")
        ->required()
        ->type_name("HEX");
    modify->add_option("HEX", modified->hex, "the rule as a request holds it")
        ->required()
        ->type_name("HEX");
    const auto [remove, removed] =
        addCommand<Number>(rules, choice, "remove", "remove a rule", removeRule);
    takeNumber(remove->add_option("ID", removed->value, "id of the rule"), 0, 65535)
        ->required()
        ->type_name("N");
}

}  // namespace

void addLocalCommands(CLI::App& app, Choice& choice) {
    {
        const auto [command, setting] =
            addCommand<Setting>(app, choice, "set", "set a value of this device", set);
        command->footer("\nItems and their values:\n  " + settings("\n  "));
        const auto* const which = command->add_option("ITEM", setting->item, "what to set")
                                      ->required()
                                      ->type_name("ITEM");
        for (const Item& item : kItems) choice.words[which].emplace_back(item.name);
        command->add_option("VALUE", setting->values, "the new value or values")
            ->required()
            ->type_name("VALUE");
    }
    CLI::App& wps = addGroup(app, "wps", "WPS and AP auto-configuration");
    for (const auto& [name, text, act] :
         {std::tuple{"renew", "send a renew for a band", &ofBand<vm1905_send_wps_renew>},
          std::tuple{"search", "send a search for a band", &ofBand<vm1905_send_wps_search>}}) {
        const auto [command, band] = addCommand<Number>(wps, choice, name, text, act);
        addWord(*command, choice, "BAND", band->value,
                "main24, main5, main6, guest24, guest5, or its number", kBands)
            ->required()
            ->type_name("BAND");
    }
    addCommand<Nothing>(wps, choice, "push-button", "send a push-button event",
                        plain<vm1905_push_button>);
    addCommand<Nothing>(wps, choice, "get", "does nothing", plain<vm1905_get_wps>);
    addCommand<Nothing>(app, choice, "discover", "send a topology and a vendor discovery now",
                        discover);
    addCommand<Nothing>(app, choice, "reopen-ports", "close and reopen all ports of the daemon",
                        plain<vm1905_reopen_ports>);
    {
        const auto [command, level] = addCommand<Number>(
            app, choice, "debug-level", "set how much the daemon logs", debugLevel);
        addWord(*command, choice, "LEVEL", level->value,
                "0 critical, 1 errors, 2 warnings and news, 3 information, 4 debugging, 5 verbose; "
                "tables: print ports and topology once",
                kLevels)
            ->required()
            ->type_name("LEVEL");
    }
    {
        const auto [command, file] = addCommand<KeyFile>(
            app, choice, "mesh-key", "make a key of the mesh for MESH_KEY", makeMeshKey);
        command->add_option("FILE", file->path, "the new file (default: /etc/vm1905/mesh.key)")
            ->type_name("FILE");
    }
    CLI::App& logFile = addGroup(app, "log-file", "log files");
    addCommand<Nothing>(logFile, choice, "write", "write the change log to vm1905_log.json",
                        plain<vm1905_write_log>);
    CLI::App& sync = addGroup(app, "wifi-sync", "Wi-Fi settings across the mesh");
    addCommand<Nothing>(sync, choice, "all",
                        "send renew (Registrar) or search (Enrollee) messages for all bands",
                        plain<vm1905_wifi_sync_all>);
    addCommand<Nothing>(sync, choice, "action", "Wi-Fi state action; this daemon refuses it",
                        plain<vm1905_wifi_state_action>);
    addCommand<Nothing>(sync, choice, "extenders", "have all extenders reload their configuration",
                        plain<vm1905_update_extenders>);
    addRules(app, choice);
}
