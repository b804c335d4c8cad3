#include "cli.h"

#include <algorithm>

#include "commands.h"
#include "failure.h"

namespace {

constexpr const char* kFooter = R"(
DEVICE is an AL MAC (02:00:5e:10:00:01, 02-00-..., 02005e100001), a host name, or self for this
device. Some commands also take all, for every device.

Exit status:
  0  done
  1  refused or failed; the message says why, and what to do next
  2  wrong usage
  3  no daemon runs here, or it ended or restarted
  4  no answer in time)";

// Help without the types of arguments: their names say what they are, the types are for completion.
class Help : public CLI::Formatter {
    std::string make_option_opts(const CLI::Option* option) const override {
        if (!option->get_positional()) return CLI::Formatter::make_option_opts(option);
        return option->get_required() ? "" : " (optional)";
    }
    std::string make_footer(const CLI::App* app) const override {
        if (app->get_parent() == nullptr) return CLI::Formatter::make_footer(app);
        return CLI::Formatter::make_footer(app) +
               "\nGlobal options (see vm1905ctl --help): --json, --keyvalue, --data-model, "
               "--timeout, --yes\n";
    }
    // --help-all includes the commands of groups.
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

void addOptions(CLI::App& app, Choice& choice) {
    auto* const json = app.add_flag_callback(
        "--json", [&choice] { choice.options.format = Format::kJson; }, "print JSON");
    app.add_flag_callback(
           "--keyvalue", [&choice] { choice.options.format = Format::kKeyValue; },
           "print path.to.key=value lines")
        ->excludes(json);
    app.add_option("--data-model", choice.options.dataModel,
                   "the daemon's vm1905.json (default: in its configured folder)")
        ->type_name("FILE");
    takeSeconds(app.add_option("--timeout", choice.options.timeout, "time limit for an answer"),
                0.001, kMaxTimeout)
        ->type_name("SECONDS");
    app.add_flag("--yes", choice.options.yes, "do not ask before acting");
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
                                   : "see vm1905ctl " + path + "--help";
    const auto isOf = [&](CLI::ExitCodes code) {
        return error.get_exit_code() == static_cast<int>(code);
    };
    if (!isOf(CLI::ExitCodes::ExtrasError) && !isOf(CLI::ExitCodes::RequiredError)) {
        return {kUsage, error.what(), advice};
    }
    const auto unknown = app.remaining(true);
    if (unknown.empty()) {
        if (isGroup)
            return {kUsage, path.empty() ? "a command is missing" : path + "needs a command",
                    advice};
        return {kUsage, path + "needs more: " + error.what(), advice};
    }
    if (unknown[0].starts_with('-')) return {kUsage, "there is no option " + unknown[0], advice};
    const bool isFirst =
        !path.empty() && std::ranges::find(words, unknown[0]) <
                             std::ranges::find(words, path.substr(0, path.find(' ')));
    if (isFirst) return {kUsage, "there is no command " + unknown[0], "see vm1905ctl --help"};
    if (isGroup) return {kUsage, "there is no command " + path + unknown[0], advice};
    return {kUsage, path + "takes no further argument: " + unknown[0], advice};
}

}  // namespace

void addInterval(CLI::App& command, Choice& choice) {
    takeSeconds(
        command.add_option("--interval", choice.interval, "seconds between two reads (default 2)"),
        0.1, 3600)
        ->type_name("SECONDS");
}

Report readSelected(const Choice& choice, Session& session) {
    Report report = choice.isFollow ? choice.follow(session) : choice.read(session);
    select(report, choice.selection);
    return report;
}

std::unique_ptr<CLI::App> makeCommandLine(Choice& choice) {
    auto app = std::make_unique<CLI::App>("Shows and manages an IEEE 1905.1 mesh.", "vm1905ctl");
    app->require_subcommand(1);
    app->formatter(std::make_shared<Help>());
    app->get_formatter()->column_width(34);
    app->set_help_all_flag("--help-all", "all commands with their options");
    addOptions(*app, choice);
    addReadCommands(*app, choice);
    CLI::App* const watch = app->add_subcommand(
        "watch", "repeat a reading command (default: topology) and show changes");
    watch->prefix_command();
    watch->footer("\nThe command and its arguments come last.");
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
    group(kReadingGroup);
    addLocalCommands(*app, choice);
    group("This device");
    addDeviceCommands(*app, choice);
    group("Orders to devices");
    app->footer(kFooter);  // last, as commands inherit it
    return app;
}

void parse(CLI::App& app, Choice& choice, const std::vector<std::string>& words) {
    // The format also applies to a failure to parse what comes before it.
    if (std::ranges::find(words, "--keyvalue") != words.end()) {
        choice.options.format = Format::kKeyValue;
    }
    if (std::ranges::find(words, "--json") != words.end()) choice.options.format = Format::kJson;
    try {
        // The library reads them from the end.
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
