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

}  // namespace

void addReadCommands(CLI::App& app, Choice& choice) {
    addRead(app, choice, "status", "this device and its daemon", showStatus);
    addRead(app, choice, "interfaces", "interfaces of this device", showInterfaces);
    addRead(app, choice, "devices", "all devices of the mesh", showDevices);
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
        auto root = std::make_shared<std::string>();
        auto withHosts = std::make_shared<bool>(false);
        CLI::App* const command =
            app.add_subcommand("topology", "the mesh as a tree")->fallthrough();
        command->add_option("--root", *root, "the device at the top (default: this one)")
            ->type_name(kDeviceArgument);
        command->add_flag("--hosts", *withHosts,
                          "include hosts and stations that are not IEEE 1905.1 devices");
        command->callback([&choice, root, withHosts] {
            choice.read = [root, withHosts](Session& session) {
                return showTopology(session, *root, *withHosts);
            };
        });
    }
    addRead(app, choice, "links",
            "which device hears which neighbor on which interface, and how well", showLinks);
    addRead(app, choice, "changes", "neighbors that came or went", showChanges);
    addRead(app, choice, "forwarding-rules", "forwarding rules", showForwardingRules);
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
