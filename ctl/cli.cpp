#include "cli.h"

#include <algorithm>

#include "failure.h"
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
    std::string make_footer(const CLI::App* app) const override {
        if (app->get_parent() == nullptr) return CLI::Formatter::make_footer(app);
        return CLI::Formatter::make_footer(app) +
               "\nBefore or behind it (see vm1905ctl --help): --json, --keyvalue, --data-model, "
               "--timeout, --yes\n";
    }
    // Where all is told the commands of groups are as well.
    std::string make_subcommands(const CLI::App* app, CLI::AppFormatMode mode) const override {
        if (mode != CLI::AppFormatMode::Sub) return CLI::Formatter::make_subcommands(app, mode);
        std::string out;
        for (const CLI::App* command : app->get_subcommands([](const CLI::App*) { return true; })) {
            out += "\n" + make_expanded(command);
        }
        return out;
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
            ->type_name(kDeviceOrSelfArgument);
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
    const auto* const which =
        get->add_option("ITEM", item->first, "which")->required()->type_name("ITEM");
    choice.words[which] = itemWords();
    get->add_option("OF", item->second, "device or interface")->type_name(kOfArgument);
    get->callback([&choice, item] {
        choice.read = [item](Session& session) {
            return showItem(session, item->first, item->second);
        };
    });
}

void addOptions(CLI::App& app, Choice& choice) {
    auto* const json = app.add_flag_callback(
        "--json", [&choice] { choice.options.format = Format::kJson; }, "print JSON");
    app.add_flag_callback(
           "--keyvalue", [&choice] { choice.options.format = Format::kKeyValue; },
           "print path.to.key=value lines")
        ->excludes(json);
    app.add_option("--data-model", choice.options.dataModel,
                   "the daemon's vm1905.json (default: where its configuration says)")
        ->type_name("FILE");
    takeSeconds(app.add_option("--timeout", choice.options.timeout, "how long an answer may take"),
                0.001, kMaxTimeout)
        ->type_name("SECONDS");
    app.add_flag("--yes", choice.options.yes, "ask no questions");
    app.set_version_flag("--version", "vm1905ctl " VM1905_VERSION);
}

// ---- Wrong usage

std::string listOfCommands(const CLI::App& group) {
    std::string list;
    for (const CLI::App* command : group.get_subcommands([](const CLI::App*) { return true; })) {
        list += (list.empty() ? "" : ", ") + command->get_name();
    }
    return list;
}

Failure usageFailure(const CLI::App& app, const CLI::ParseError& error,
                     const std::vector<std::string>& words) {
    const CLI::App* command = &app;
    std::string path;
    while (!command->get_subcommands().empty()) {
        command = command->get_subcommands().front();
        path += command->get_name() + " ";
    }
    const bool isGroup = command->get_require_subcommand_min() > 0;
    const std::string advice = isGroup && !path.empty()
                                   ? "its commands: " + listOfCommands(*command)
                                   : "see: vm1905ctl " + path + "--help";
    const auto isOf = [&](CLI::ExitCodes code) {
        return error.get_exit_code() == static_cast<int>(code);
    };
    if (!isOf(CLI::ExitCodes::ExtrasError) && !isOf(CLI::ExitCodes::RequiredError)) {
        return {kUsage, error.what(), advice};
    }
    const auto unknown = app.remaining(true);
    if (unknown.empty()) {
        if (isGroup)
            return {kUsage, path.empty() ? "a command is missing" : path + "wants a command",
                    advice};
        return {kUsage, path + "wants more: " + error.what(), advice};
    }
    if (unknown[0].starts_with('-')) return {kUsage, "there is no option " + unknown[0], advice};
    const bool isFirst =
        !path.empty() && std::ranges::find(words, unknown[0]) <
                             std::ranges::find(words, path.substr(0, path.find(' ')));
    if (isFirst) return {kUsage, "there is no command " + unknown[0], "see: vm1905ctl --help"};
    if (isGroup) return {kUsage, "there is no command " + path + unknown[0], advice};
    return {kUsage, path + "takes nothing more: " + unknown[0], advice};
}

}  // namespace

void addInterval(CLI::App& command, Choice& choice) {
    takeSeconds(
        command.add_option("--interval", choice.interval, "seconds between two looks (default 2)"),
        0.1, 3600)
        ->type_name("SECONDS");
}

std::unique_ptr<CLI::App> makeCommandLine(Choice& choice) {
    auto app = std::make_unique<CLI::App>("Shows and manages an IEEE 1905.1 mesh.", "vm1905ctl");
    app->require_subcommand(1);
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
    app->footer(kFooter);  // last: commands would inherit it
    return app;
}

void parse(CLI::App& app, Choice& choice, const std::vector<std::string>& words) {
    // Failures are told in it wherever it stands.
    if (std::ranges::find(words, "--keyvalue") != words.end()) {
        choice.options.format = Format::kKeyValue;
    }
    if (std::ranges::find(words, "--json") != words.end()) choice.options.format = Format::kJson;
    try {
        // The library takes them from the end.
        app.parse(std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::CallForHelp&) {
        choice.text = app.help();
    } catch (const CLI::CallForAllHelp&) {
        choice.text = app.help("", CLI::AppFormatMode::All);
    } catch (const CLI::CallForVersion&) {
        choice.text = app.version() + "\n";
    } catch (const CLI::ParseError& error) {
        throw usageFailure(app, error, words);
    }
}

CLI::Option* addWord(CLI::App& command, Choice& choice, const char* name, int& number,
                     const char* text, const Words& words) {
    CLI::Option* const option = takeWord(command.add_option(name, number, text), words);
    for (const auto& [word, meaning] : words) choice.words[option].push_back(word);
    return option;
}
