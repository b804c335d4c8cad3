#include "cli.h"

#include <algorithm>

#include "views.h"

namespace {

constexpr const char* kFooter = R"(
A device is named by its AL MAC (02:00:5e:10:00:01, 02-00-..., 02005e100001), by its host name, or
self; where it says so, all means every device.

Exit status:
  0  done
  1  refused; the message has the code in words, and what to do next
  2  wrong usage
  3  no daemon runs here, or it ended meanwhile
  4  no answer in time)";

// The argument's name says what it is; the type behind it is for completion.
class Help : public CLI::Formatter {
    std::string make_option_opts(const CLI::Option* option) const override {
        if (!option->get_positional()) return CLI::Formatter::make_option_opts(option);
        return option->get_required() ? "" : " (optional)";
    }
};

constexpr double kMaxTimeout = 3600;  // seconds

CLI::App* addRead(CLI::App& app, Choice& choice, const char* name, const char* text,
                  Report (*read)(Session&)) {
    CLI::App* const command = app.add_subcommand(name, text)->fallthrough();
    command->callback([&choice, command, read] {
        if (command->get_subcommands().empty()) choice.read = read;
    });
    return command;
}

void addReads(CLI::App& app, Choice& choice) {
    addRead(app, choice, "status", "this device and its daemon", showStatus);
    addRead(app, choice, "interfaces", "its interfaces", showInterfaces);
    addRead(app, choice, "devices", "all devices of the mesh", showDevices);
    {
        auto device = std::make_shared<std::string>();
        CLI::App* const command =
            app.add_subcommand("device", "all that is known of one device")->fallthrough();
        command->add_option("DEVICE", *device, "AL MAC, host name, or self")
            ->required()
            ->type_name(kDeviceArgument);
        command->callback([&choice, device] {
            choice.read = [device](Session& session) { return showDevice(session, *device); };
        });
    }
    {
        auto root = std::make_shared<std::string>();
        auto withHosts = std::make_shared<bool>(false);
        CLI::App* const command =
            app.add_subcommand("topology", "who hangs off whom, as a tree")->fallthrough();
        command->add_option("--root", *root, "the device on top (default: this one)")
            ->type_name(kDeviceArgument);
        command->add_flag("--hosts", *withHosts, "with the hosts and stations that are no devices");
        command->callback([&choice, root, withHosts] {
            choice.read = [root, withHosts](Session& session) {
                return showTopology(session, *root, *withHosts);
            };
        });
    }
    addRead(app, choice, "links", "who hears whom on which interface, and how well", showLinks);
    addRead(app, choice, "changes", "who came and went", showChanges);
    addRead(app, choice, "forwarding-rules", "forwarding rules", showForwardingRules);
    addRead(app, choice, "security", "the security setting of this device", showSecurity);
    auto item = std::make_shared<std::pair<std::string, std::string>>();
    CLI::App* const get =
        app.add_subcommand("get", "one value of it, or of another device")->fallthrough();
    get->footer("\nItems: " + itemNames());
    get->add_option("ITEM", item->first, "which")->required()->type_name("ITEM");
    get->add_option("OF", item->second, "device or interface")->type_name(kDeviceArgument);
    get->callback([&choice, item] {
        choice.read = [item](Session& session) {
            return showItem(session, item->first, item->second);
        };
    });
}

void addOptions(CLI::App& app, Choice& choice) {
    app.add_flag_callback(
        "--json", [&choice] { choice.options.format = Format::kJson; }, "print JSON");
    app.add_flag_callback(
        "--keyvalue", [&choice] { choice.options.format = Format::kKeyValue; },
        "print path.to.key=value lines");
    app.add_option("--data-model", choice.options.dataModel,
                   "the daemon's vm1905.json (default: where its configuration says)")
        ->type_name("FILE");
    app.add_option("--timeout", choice.options.timeout, "how long an answer may take")
        ->check(CLI::Range(0.001, kMaxTimeout).description(""))
        ->type_name("SECONDS");
    app.add_flag("--yes", choice.options.yes, "ask no questions");
    app.set_version_flag("--version", "vm1905ctl " VM1905_VERSION);
}

// ---- Completion

bool takesValue(const CLI::Option& option) {
    return option.get_items_expected_max() > 0;
}

const CLI::Option* optionNamed(const CLI::App* app, const std::string& word) {
    for (; app != nullptr; app = app->get_parent()) {
        if (const auto* option = app->get_option_no_throw(word)) return option;
    }
    return nullptr;
}

const CLI::App* commandNamed(const CLI::App& app, const std::string& name) {
    const auto found =
        app.get_subcommands([&](const CLI::App* command) { return command->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

void printDevices(const std::string& begin, bool withAll) {
    std::vector<std::string> words{"self"};
    if (withAll) words.emplace_back("all");
    for (const ModelDevice& device : readDataModel(dataModelPath()).devices) {
        const std::string name = device.text("Hostname");
        // A name that the shell would read otherwise is completed by its address.
        const bool isPlain =
            !name.empty() && name[0] != '-' && std::ranges::all_of(name, [](char c) {
                return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                       c == '-' || c == '_' || c == '.';
            });
        // The shell takes a colon for the end of a word.
        std::string mac = device.alMac.text();
        std::ranges::replace(mac, ':', '-');
        words.push_back(isPlain ? name : mac);
        if (isPlain && !begin.empty()) words.push_back(mac);
    }
    for (const std::string& word : words) {
        if (word.starts_with(begin)) std::puts(word.c_str());
    }
}

}  // namespace

void addInterval(CLI::App& command, Choice& choice) {
    command.add_option("--interval", choice.interval, "seconds between two looks (default 2)")
        ->check(CLI::Range(0.1, 3600.0).description(""))
        ->type_name("SECONDS");
}

std::unique_ptr<CLI::App> makeCommandLine(Choice& choice) {
    auto app = std::make_unique<CLI::App>("Shows and manages an IEEE 1905.1 mesh.", "vm1905ctl");
    app->require_subcommand(1);
    app->footer(kFooter);
    app->formatter(std::make_shared<Help>());
    app->get_formatter()->column_width(34);
    app->set_help_all_flag("--help-all", "all commands with their options");
    addOptions(*app, choice);
    addReads(*app, choice);
    CLI::App* const watch = app->add_subcommand(
        "watch", "repeat a reading command (default: topology) as the mesh changes");
    watch->prefix_command();
    watch->footer("\nThe command, with its arguments, stands last.");
    addInterval(*watch, choice);
    watch->callback([&choice, watch] {
        choice.isWatch = true;
        choice.watched = watch->remaining();
    });
    const auto group = [&](const char* name) {
        for (CLI::App* command : app->get_subcommands([](const CLI::App*) { return true; })) {
            if (command->get_group() == "Subcommands") command->group(name);
        }
    };
    group("Reading");
    addLocalOrders(*app, choice);
    group("This device");
    addOrders(*app, choice);
    group("Orders to devices");
    return app;
}

void printCompletions(const std::vector<std::string>& words) {
    Choice choice;
    const auto root = makeCommandLine(choice);
    const CLI::App* app = root.get();
    const CLI::Option* pending = nullptr;  // an option that wants a value
    size_t position = 0;
    const std::string last = words.empty() ? "" : words.back();
    for (size_t i = 0; i + 1 < words.size(); i++) {
        if (pending != nullptr) {
            pending = nullptr;
        } else if (words[i].starts_with("-")) {
            const auto* const option = optionNamed(app, words[i]);
            if (option != nullptr && takesValue(*option)) pending = option;
        } else if (const auto* command = commandNamed(*app, words[i])) {
            // Behind watch stands another command.
            app = command->get_name() == "watch" ? root.get() : command;
        } else {
            position++;
        }
    }
    const auto print = [&](const std::string& word) {
        if (word.starts_with(last)) std::puts(word.c_str());
    };
    const auto printValues = [&](const CLI::Option& option) {
        const std::string type = option.get_type_name();
        if (type == kDeviceArgument || type == kDeviceOrAllArgument) {
            printDevices(last, type == kDeviceOrAllArgument);
        }
    };
    if (pending != nullptr) return printValues(*pending);
    if (last.starts_with("-")) {
        for (; app != nullptr; app = app->get_parent()) {
            for (const auto* option : app->get_options()) {
                for (const auto& name : option->get_lnames()) print("--" + name);
            }
        }
        return;
    }
    for (const auto* command : app->get_subcommands([](const CLI::App*) { return true; })) {
        print(command->get_name());
    }
    const auto positionals =
        app->get_options([](const CLI::Option* option) { return option->get_positional(); });
    if (position < positionals.size()) printValues(*positionals[position]);
}
