// The commands that read.
#include "commands.h"
#include "views.h"

namespace {

CLI::App* addRead(CLI::App& app, Choice& choice, const char* name, const char* text,
                  Report (*read)(Session&)) {
    CLI::App* const command = app.add_subcommand(name, text)->fallthrough();
    command->callback([&choice, command, read] {
        if (command->get_subcommands().empty()) choice.read = read;
    });
    return command;
}

// Adds the options of a command that shows a list.
CLI::App* addSelection(CLI::App* command, Choice& choice) {
    Selection& selection = choice.selection;
    command
        ->add_option("--columns", selection.columns,
                     "show these columns: keys of --json, with commas")
        ->delimiter(',')
        ->allow_extra_args(false)
        ->type_name("KEYS");
    command
        ->add_option("--filter", selection.filters,
                     "only rows with KEY=VALUE, KEY!=VALUE, KEY<VALUE or KEY>VALUE; repeatable")
        ->allow_extra_args(false)
        ->type_name("CONDITION");
    command->add_option("--sort", selection.sort, "sort by this column; -KEY: the other way round")
        ->type_name("KEY");
    return command;
}

}  // namespace

void addReadCommands(CLI::App& app, Choice& choice) {
    addRead(app, choice, "status", "this device and its daemon", showStatus);
    addSelection(addRead(app, choice, "interfaces", "interfaces of this device", showInterfaces),
                 choice);
    addSelection(addRead(app, choice, "devices", "all devices of the mesh", showDevices), choice);
    {
        auto device = std::make_shared<std::string>();
        CLI::App* const command =
            app.add_subcommand("device", "everything known about one device")->fallthrough();
        command->add_option("DEVICE", *device, "AL MAC, host name, or self")
            ->required()
            ->type_name(kDeviceOrSelfArgument);
        command->callback([&choice, device] {
            choice.read = [device](Session& session) { return showDevice(session, *device); };
        });
    }
    {
        struct Tree {
            std::string root;
            bool withHosts = false, isDot = false, isMermaid = false;
        };
        auto tree = std::make_shared<Tree>();
        CLI::App* const command =
            app.add_subcommand("topology", "the mesh as a tree")->fallthrough();
        command->add_option("--root", tree->root, "the device at the top (default: this one)")
            ->type_name(kDeviceArgument);
        command->add_flag("--hosts", tree->withHosts,
                          "include hosts and stations that are not IEEE 1905.1 devices");
        CLI::Option* const dot =
            command->add_flag("--dot", tree->isDot, "draw it in the language of Graphviz");
        CLI::Option* const mermaid =
            command->add_flag("--mermaid", tree->isMermaid, "draw it in the language of Mermaid")
                ->excludes(dot);
        addSelection(command, choice);
        // A graph shows all devices, in any order.
        for (const char* rows : {"--filter", "--sort"}) {
            command->get_option(rows)->excludes(dot)->excludes(mermaid);
        }
        command->callback([&choice, tree] {
            choice.read = [tree](Session& session) {
                return showTopology(session, tree->root, tree->withHosts,
                                    tree->isDot       ? Drawing::kDot
                                    : tree->isMermaid ? Drawing::kMermaid
                                                      : Drawing::kTree);
            };
        });
    }
    {
        auto device = std::make_shared<std::string>();
        CLI::App* const command =
            app.add_subcommand("links",
                               "which device hears which neighbor on which interface, and how well")
                ->fallthrough();
        command->add_option("DEVICE", *device, "whose links (default: of all)")
            ->type_name(kDeviceOrSelfArgument);
        addSelection(command, choice);
        command->callback([&choice, device] {
            choice.read = [device](Session& session) { return showLinks(session, *device); };
        });
    }
    {
        auto withSecrets = std::make_shared<bool>(false);
        CLI::App* const command =
            app.add_subcommand("wifi",
                               "Wi-Fi networks, radios, and which device has which networks")
                ->fallthrough();
        command->add_flag("--secrets", *withSecrets, "show the keys of the networks");
        command->callback([&choice, withSecrets] {
            choice.read = [withSecrets](Session& session) {
                return showWifi(session, *withSecrets);
            };
        });
    }
    addSelection(addRead(app, choice, "stations", "Wi-Fi stations of all devices", showStations),
                 choice);
    {
        CLI::App* const command =
            app.add_subcommand("changes", "neighbors that came or went")->fallthrough();
        command->add_flag("--follow", choice.isFollow, "go on with each change as it happens");
        addSelection(command, choice);
        command->callback([&choice] {
            choice.read = showChanges;
            choice.follow = changeFollower();
        });
    }
    addSelection(addRead(app, choice, "forwarding-rules", "forwarding rules", showForwardingRules),
                 choice);
    addRead(app, choice, "security", "the security setting of this device", showSecurity);
    addRead(app, choice, "doctor", "what is wrong with this device, and what to do about it",
            showDoctor)
        ->footer("\nExit status: 0 fine, 1 warnings, 2 broken.");
    {
        auto files = std::make_shared<std::vector<std::string>>();
        CLI::App* const command =
            app.add_subcommand("check-config", "wrong lines of the configuration files")
                ->fallthrough();
        command->add_option("FILE", *files, "files to check (default: those of this device)")
            ->type_name("FILE");
        command->callback([&choice, files] {
            choice.read = [files](Session& session) { return showConfigTrouble(session, *files); };
        });
    }
    auto item = std::make_shared<std::pair<std::string, std::string>>();
    CLI::App* const get =
        app.add_subcommand("get", "one value of this device or of another")->fallthrough();
    get->footer("\nItems: " + itemNames());
    const auto* const which =
        get->add_option("ITEM", item->first, "the value")->required()->type_name("ITEM");
    choice.words[which] = itemWords();
    get->add_option("OF", item->second, "device or interface")->type_name(kOfArgument);
    get->callback([&choice, item] {
        choice.read = [item](Session& session) {
            return showItem(session, item->first, item->second);
        };
    });
}
